#include "console/MainWindow.h"

#include "console/ElidingComboBox.h"
#include "console/windowHabits.h"
#include "engine/BraskTestWorker.h"
#include "link/lineRates.h"

#include <QComboBox>
#include <QDebug>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>

namespace {

constexpr int resultMessageMs = 3000;
constexpr int defaultRateIndex = 7;

/**
 * The connected button has a fixed light green background, so its text colour must not follow a
 * theme.
 */
QPalette darkTextOnGreen()
{
    QPalette colours;
    colours.setColor(QPalette::ButtonText, Qt::black);
    colours.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x50, 0x50, 0x50));
    return colours;
}

} // namespace

QGroupBox* MainWindow::createConnectionGroup()
{
    portCombo = new ElidingComboBox; // model names can be long
    portCombo->setMinimumWidth(200);
    portCombo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    followWheelOnlyFocused(portCombo);
    refreshButton = new QPushButton(QStringLiteral("Refresh"));
    baudCombo = new QComboBox;
    baudCombo->setMinimumWidth(100);
    followWheelOnlyFocused(baudCombo);
    connectButton = new QPushButton(QStringLiteral("Connect"));
    connectButton->setMinimumWidth(100);

    auto* group = new QGroupBox(QStringLiteral("Connection"));
    auto* layout = new QHBoxLayout(group);
    layout->addWidget(makeCaption(QStringLiteral("Port:"), portCombo));
    layout->addWidget(portCombo);
    layout->addWidget(refreshButton);
    layout->addSpacing(20);
    layout->addWidget(makeCaption(QStringLiteral("Baud Rate:"), baudCombo));
    layout->addWidget(baudCombo);
    layout->addSpacing(20);
    layout->addWidget(connectButton);
    layout->addStretch();
    return group;
}

void MainWindow::populateBaudRates()
{
    baudCombo->clear();
    for (const int rate : baudRates)
        baudCombo->addItem(QString::number(rate), rate);
    baudCombo->setCurrentIndex(defaultRateIndex);
}

void MainWindow::onRefreshPorts()
{
    qDebug() << "onRefreshPorts: Requesting port list from worker...";
    statusBar()->showMessage(QStringLiteral("Scanning for ports..."));
    QMetaObject::invokeMethod(worker, "refreshPorts", Qt::QueuedConnection);
}

void MainWindow::showPorts(const QList<portInfo>& ports)
{
    qDebug() << "MAINWINDOW: Received portsEnumerated signal with" << ports.size() << "ports";
    portCombo->clear();
    if (ports.isEmpty()) {
        portCombo->addItem(QStringLiteral("(No ports detected)"), QString());
        statusBar()->showMessage(QStringLiteral("No serial ports found"), resultMessageMs);
        appendLog(QStringLiteral("WARNING"), QStringLiteral("No serial ports detected"));
        return;
    }
    for (const portInfo& port : ports) {
        const QString text = port.description.isEmpty() ? port.portName : port.description;
        portCombo->addItem(text, port.portName);
        portCombo->setItemData(portCombo->count() - 1, text, Qt::ToolTipRole);
        qDebug() << "  Added port:" << text << "path:" << port.portName;
    }
    statusBar()->showMessage(QStringLiteral("Found %1 port(s)").arg(ports.size()), resultMessageMs);
    appendLog(QStringLiteral("INFO"), QStringLiteral("Enumerated %1 port(s)").arg(ports.size()));
}

void MainWindow::onConnectClicked()
{
    if (isConnected) {
        QMetaObject::invokeMethod(worker, "disconnectPort", Qt::QueuedConnection);
        return;
    }
    const QString port = portCombo->currentData().toString();
    const int baudRate = baudCombo->currentData().toInt();
    if (port.isEmpty()) {
        QMessageBox::warning(this, QStringLiteral("No Port Selected"),
                             QStringLiteral("Please select a serial port from the list."));
        return;
    }
    QMetaObject::invokeMethod(worker, "connectToPort", Qt::QueuedConnection, Q_ARG(QString, port),
                              Q_ARG(int, baudRate));
}

void MainWindow::onConnectionChanged(bool connected)
{
    updateConnectionState(connected);
}

void MainWindow::updateConnectionState(bool connected)
{
    isConnected = connected;
    connectButton->setText(connected ? QStringLiteral("Disconnect") : QStringLiteral("Connect"));
    connectButton->setStyleSheet(
        connected ? QStringLiteral("QPushButton { background-color: #90EE90; }") : QString());
    connectButton->setPalette(connected ? darkTextOnGreen() : QPalette());
    portCombo->setEnabled(!connected);
    baudCombo->setEnabled(!connected);
    refreshButton->setEnabled(!connected);
    if (!connected && focusWidget() == startButton)
        connectButton->setFocus(); // otherwise the focus would move to "Clear Stats"
    startButton->setEnabled(connected);
    statusBar()->showMessage(connected ? QStringLiteral("Connected to ") + portCombo->currentText()
                                       : QStringLiteral("Disconnected"));
}
