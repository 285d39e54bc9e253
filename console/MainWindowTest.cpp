#include "console/MainWindow.h"

#include "console/windowHabits.h"
#include "engine/BraskTestWorker.h"
#include "engine/timing/wallTime.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QTimer>

namespace {

constexpr int durationTickMs = 1000;

QSpinBox* makeSpinBox(int lowest, int highest, int value, const QString& suffix)
{
    auto* box = new QSpinBox;
    box->setRange(lowest, highest);
    box->setValue(value);
    box->setSuffix(suffix);
    followWheelOnlyFocused(box);
    return box;
}

void addSetting(QGridLayout* layout, int row, int column, const QString& caption, QSpinBox* box,
                int span = 1)
{
    layout->addWidget(makeCaption(caption, box), row, column);
    layout->addWidget(box, row, column + 1, 1, span);
}

} // namespace

QGroupBox* MainWindow::createTestConfigGroup()
{
    const TestConfig initial;
    const QString bytes = QStringLiteral(" bytes");
    ppsSpin = makeSpinBox(1, 1000, initial.packetsPerSecond, QString());
    minSizeSpin = makeSpinBox(0, 124, initial.minDataSize, bytes);
    maxSizeSpin = makeSpinBox(0, 124, initial.maxDataSize, bytes);
    timeoutSpin = makeSpinBox(50, 5000, initial.timeoutMs, QStringLiteral(" ms"));
    durationSpin = makeSpinBox(0, 3600, initial.durationSec, QStringLiteral(" sec (0=unlimited)"));
    startButton = new QPushButton(QStringLiteral("Start Test"));
    startButton->setEnabled(false);
    stopButton = new QPushButton(QStringLiteral("Stop Test"));
    stopButton->setEnabled(false);
    clearStatsButton = new QPushButton(QStringLiteral("Clear Stats"));

    auto* group = new QGroupBox(QStringLiteral("Test Configuration"));
    auto* layout = new QGridLayout(group);
    addSetting(layout, 0, 0, QStringLiteral("Packets/Second:"), ppsSpin);
    addSetting(layout, 0, 2, QStringLiteral("Min Data Size:"), minSizeSpin);
    addSetting(layout, 0, 4, QStringLiteral("Max Data Size:"), maxSizeSpin);
    layout->addWidget(stopButton, 0, 6);
    addSetting(layout, 1, 0, QStringLiteral("Timeout:"), timeoutSpin);
    addSetting(layout, 1, 2, QStringLiteral("Duration:"), durationSpin, 2);
    layout->addWidget(startButton, 1, 5);
    layout->addWidget(clearStatsButton, 1, 6);
    for (const int column : {1, 3, 5})
        layout->setColumnStretch(column, 1);
    return group;
}

void MainWindow::onStartTest()
{
    if (minSizeSpin->value() > maxSizeSpin->value()) {
        QMessageBox::warning(this, QStringLiteral("Invalid Configuration"),
                             QStringLiteral("Min data size cannot be greater than max data size."));
        return;
    }
    TestConfig config;
    config.packetsPerSecond = ppsSpin->value();
    config.minDataSize = minSizeSpin->value();
    config.maxDataSize = maxSizeSpin->value();
    config.timeoutMs = timeoutSpin->value();
    config.durationSec = durationSpin->value();
    if (eventFile.open(wallTime()))
        statusBar()->showMessage(QStringLiteral("Logging to: ") + eventFile.name());
    config.csvFilePath = eventFile.name();

    clock.restart();
    QMetaObject::invokeMethod(worker, "startTest", Qt::QueuedConnection, Q_ARG(TestConfig, config));
    setTestRunning(true);
    appendLog(QStringLiteral("INFO"),
              QStringLiteral("Test started: %1 pps, %2-%3 bytes, %4ms timeout")
                  .arg(config.packetsPerSecond)
                  .arg(config.minDataSize)
                  .arg(config.maxDataSize)
                  .arg(config.timeoutMs));
    durationDisplayTimer->start(durationTickMs);
}

void MainWindow::onStopTest()
{
    QMetaObject::invokeMethod(worker, "stopTest", Qt::QueuedConnection);
    durationDisplayTimer->stop();
}

void MainWindow::onTestCompleted()
{
    setTestRunning(false);
    appendLog(QStringLiteral("INFO"), QStringLiteral("Test completed"));
    endRecording();
}

void MainWindow::endRecording()
{
    durationDisplayTimer->stop();
    eventFile.close();
}

void MainWindow::setTestRunning(bool running)
{
    isTestRunning = running;
    const bool inUse = focusWidget() == startButton || focusWidget() == stopButton;
    connectButton->setEnabled(!running);
    for (QSpinBox* setting : {ppsSpin, minSizeSpin, maxSizeSpin, timeoutSpin, durationSpin})
        setting->setEnabled(!running);

    // The next key press should act on the run. When a focused button is disabled, Qt would move
    // the focus to "Clear Stats".
    QPushButton* next = running ? stopButton : isConnected ? startButton : connectButton;
    next->setEnabled(true);
    if (inUse)
        next->setFocus();
    startButton->setEnabled(!running && isConnected);
    stopButton->setEnabled(running);
}
