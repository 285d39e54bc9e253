#include "console/MainWindow.h"

#include "console/windowHabits.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QTextEdit>

#include <algorithm>

namespace {

QLabel* addFigure(QGridLayout* layout, int row, int column, const QString& caption,
                  const QString& initialText,
                  const QString& styleSheet = QStringLiteral("QLabel { font-weight: bold; }"))
{
    auto* value = new QLabel(initialText);
    value->setStyleSheet(styleSheet);
    layout->addWidget(makeCaption(caption, value), row, column);
    layout->addWidget(value, row, column + 1);
    layout->setColumnStretch(column + 1, 1);
    return value;
}

QString oneDecimal(double value)
{
    return QString::number(value, 'f', 1);
}

} // namespace

QGroupBox* MainWindow::createStatisticsGroup()
{
    auto* group = new QGroupBox(QStringLiteral("Statistics"));
    auto* layout = new QGridLayout(group);
    const QString noLatency = QStringLiteral("- ms");
    sentLabel = addFigure(layout, 0, 0, QStringLiteral("Packets Sent:"), QStringLiteral("0"));
    receivedLabel =
        addFigure(layout, 0, 2, QStringLiteral("Packets Received:"), QStringLiteral("0"),
                  QStringLiteral("QLabel { font-weight: bold; color: green; }"));
    lostLabel = addFigure(layout, 0, 4, QStringLiteral("Packets Lost:"), QStringLiteral("0 (0.0%)"),
                          QStringLiteral("QLabel { font-weight: bold; color: red; }"));
    successRateLabel =
        addFigure(layout, 0, 6, QStringLiteral("Success Rate:"), QStringLiteral("0.0%"));
    avgLatencyLabel =
        addFigure(layout, 1, 0, QStringLiteral("Avg Latency:"), QStringLiteral("0 ms"));
    minLatencyLabel = addFigure(layout, 1, 2, QStringLiteral("Min Latency:"), noLatency);
    maxLatencyLabel = addFigure(layout, 1, 4, QStringLiteral("Max Latency:"), noLatency);
    durationLabel =
        addFigure(layout, 1, 6, QStringLiteral("Test Duration:"), QStringLiteral("0 s"));
    return group;
}

void MainWindow::onStatisticsUpdated(TestStats stats)
{
    currentStats = stats;
    const double lostPercent = stats.packetsSent == 0
                                   ? 0.0
                                   : static_cast<double>(stats.packetsLost) /
                                         static_cast<double>(stats.packetsSent) * 100.0;
    sentLabel->setText(QString::number(stats.packetsSent));
    receivedLabel->setText(QString::number(stats.packetsReceived));
    lostLabel->setText(QStringLiteral("%1 (%2%)")
                           .arg(QString::number(stats.packetsLost), oneDecimal(lostPercent)));
    successRateLabel->setText(QStringLiteral("%1%").arg(oneDecimal(stats.successRate)));

    const auto latencyText = [&stats](int latencyMs) {
        return stats.packetsReceived != 0 ? QStringLiteral("%1 ms").arg(latencyMs)
                                          : QStringLiteral("- ms");
    };
    avgLatencyLabel->setText(latencyText(stats.avgLatencyMs));
    minLatencyLabel->setText(latencyText(stats.minLatencyMs));
    maxLatencyLabel->setText(latencyText(stats.maxLatencyMs));
}

void MainWindow::updateTestDuration()
{
    if (currentStats.startTime <= 0)
        return;
    const qint64 elapsedMs = std::max<qint64>(0, clock.nowMs() - currentStats.startTime);
    durationLabel->setText(QStringLiteral("%1 s").arg(static_cast<int>(elapsedMs / 1000)));
}

void MainWindow::onClearStats()
{
    currentStats = TestStats{};
    onStatisticsUpdated(currentStats);
    logView->clear();
    appendLog(QStringLiteral("INFO"), QStringLiteral("Statistics cleared"));
}
