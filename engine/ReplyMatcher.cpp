#include "engine/BraskTestWorker.h"

#include "link/vnPacketComs.h"

#include <QDateTime>
#include <QtEndian>

namespace {

constexpr uint8_t echoReply = 0x40;
constexpr uint8_t clearScreenReply = 0x46;
constexpr uint8_t writeTextReply = 0x5F;
constexpr uint8_t firstReport = 0x80;
constexpr uint8_t firstErrorReply = 0xC0;

QString hexByte(uint8_t value)
{
    return QStringLiteral("%1").arg(value, 2, 16, QLatin1Char('0'));
}

} // namespace

void BraskTestWorker::pollForPackets()
{
    if (!connected)
        return;
    vnPacket packet{};
    while (packetComs->receivePacket(packet))
        handlePacket(packet);
}

void BraskTestWorker::handlePacket(const vnPacket& packet)
{
    const uint8_t command = packet.command;
    if (command == clearScreenReply || command == writeTextReply)
        return;
    if (command == echoReply) {
        matchEcho(packet);
    } else if (command >= firstErrorReply) {
        const int errorCode = packet.dataLength > 0 ? packet.data[0] : 0;
        emit logMessage(QStringLiteral("ERROR"),
                        QStringLiteral("Device error response: 0x%1, error code: %2")
                            .arg(hexByte(command), QString::number(errorCode)));
    } else if (command >= firstReport) {
        emit logMessage(QStringLiteral("INFO"),
                        QStringLiteral("Device report: 0x%1").arg(hexByte(command)));
    } else {
        emit logMessage(
            QStringLiteral("WARNING"),
            QStringLiteral("Received unexpected packet with command: 0x%1").arg(hexByte(command)));
    }
}

void BraskTestWorker::matchEcho(const vnPacket& packet)
{
    if (packet.dataLength < sizeof(quint64)) {
        emit logMessage(QStringLiteral("WARNING"),
                        QStringLiteral("Received reply with insufficient data"));
        return;
    }
    const auto id = qFromLittleEndian<quint64>(packet.data);
    const auto ping = pendingPackets.constFind(id);
    if (ping == pendingPackets.constEnd()) {
        emit logMessage(QStringLiteral("WARNING"),
                        QStringLiteral("Received reply for unknown sequence ID: %1").arg(id));
        return;
    }

    const QByteArrayView echoed(packet.data, packet.dataLength);
    if (ping->payload != echoed) {
        emit logMessage(QStringLiteral("ERROR"),
                        QStringLiteral("Packet %1: Data mismatch! Expected %2 bytes, got %3")
                            .arg(id)
                            .arg(ping->payload.size())
                            .arg(packet.dataLength));
        ++stats.packetsLost;
    } else {
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        ++stats.packetsReceived;
        // An echo of the final wait has lain on the line for an unknown time: it is not timed.
        const qint64 latencyMs = now - ping->sendTime;
        if (testRunning)
            recordLatency(latencyMs);
        updateSuccessRate();
        if (testRunning && isReported(id))
            emit logMessage(QStringLiteral("SUCCESS"),
                            QStringLiteral("Packet %1: %2ms").arg(id).arg(latencyMs));
    }
    pendingPackets.remove(id);
}
