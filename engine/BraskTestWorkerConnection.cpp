#include "engine/BraskTestWorker.h"

#include "engine/timing/EngineTiming.h"
#include "link/vnSerialComs.h"

namespace {

constexpr int moduleSettleMs = 100;
constexpr int displayRefreshMs = 1000;

QString openFailureReason(int code)
{
    switch (code) {
    case vnSerialComs::NoPortName:
        return QStringLiteral("No port name specified");
    case vnSerialComs::InvalidBaudRate:
        return QStringLiteral("Invalid baud rate");
    case vnSerialComs::OpenFailed:
        return QStringLiteral("Failed to open port - may be in use or doesn't exist");
    case vnSerialComs::ConfigureFailed:
        return QStringLiteral("Failed to configure port settings");
    case vnSerialComs::TimeoutsFailed:
        return QStringLiteral("Failed to set timeouts");
    default:
        return QStringLiteral("Unknown error (%1)").arg(code);
    }
}

} // namespace

void BraskTestWorker::connectToPort(QString port, int baudRate)
{
    if (connected) {
        emit logMessage(QStringLiteral("WARNING"),
                        QStringLiteral("Already connected. Disconnect first."));
        return;
    }
    // All arguments in one call: a port name may itself contain a %1.
    emit logMessage(QStringLiteral("INFO"),
                    QStringLiteral("Attempting to connect to %1 at %2 baud...")
                        .arg(port, QString::number(baudRate)));
    if (!serialPort->openPort(port, baudRate)) {
        emit errorOccurred(QStringLiteral("Connection failed: ") +
                           openFailureReason(serialPort->lastError()));
        emit connectionChanged(false);
        return;
    }

    connected = true;
    emit connectionChanged(true);
    emit logMessage(
        QStringLiteral("SUCCESS"),
        QStringLiteral("Connected to %1 at %2 baud").arg(port, QString::number(baudRate)));
    timing->pause(moduleSettleMs);
    if (!writesScreen)
        return;
    clearLCD();
    timing->startDisplay(displayRefreshMs);
}

void BraskTestWorker::disconnectPort()
{
    if (!connected)
        return;
    if (testRunning)
        stopTest();
    timing->stopDisplay();
    if (!serialPort->closePort()) {
        emit errorOccurred(QStringLiteral("Failed to disconnect from port"));
        return;
    }
    connected = false;
    emit connectionChanged(false);
    emit logMessage(QStringLiteral("INFO"), QStringLiteral("Disconnected from port"));
}

void BraskTestWorker::refreshPorts()
{
    emit logMessage(QStringLiteral("INFO"), QStringLiteral("Refreshing port list..."));
    const QList<portInfo> ports = portEnumerator->enumeratePorts();
    emit logMessage(QStringLiteral("INFO"), QStringLiteral("Found %1 ports").arg(ports.size()));
    for (const portInfo& port : ports)
        emit logMessage(QStringLiteral("INFO"),
                        QStringLiteral("Port: %1 - %2").arg(port.portName, port.description));
    emit portsEnumerated(ports);
}

void BraskTestWorker::cleanup()
{
    if (testRunning)
        stopTest();
    if (connected)
        disconnectPort();
}
