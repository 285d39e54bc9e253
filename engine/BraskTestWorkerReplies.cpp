#include "engine/BraskTestWorker.h"

#include "engine/timing/EngineTiming.h"
#include "link/vnPacketComs.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace {

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

/** Whether `bytes`, as far as they have arrived, are the unchanged echo of an open ping. */
Awaited BraskTestWorker::awaits(std::span<const uint8_t> bytes) const
{
    constexpr size_t numbered = vnHeaderLength + sizeof(quint64);
    if (pendingPackets.isEmpty() || bytes[0] != echoCommand)
        return Awaited::No;
    if (bytes.size() < numbered)
        return Awaited::Perhaps;
    const auto ping = pendingPackets.constFind(qFromLittleEndian<quint64>(&bytes[vnHeaderLength]));
    if (ping == pendingPackets.constEnd() || ping->payload.size() != bytes[1])
        return Awaited::No;
    const size_t arrived = std::min<size_t>(bytes.size() - vnHeaderLength, bytes[1]);
    const bool isSame = std::memcmp(&bytes[vnHeaderLength], ping->payload.data(), arrived) == 0;
    return isSame ? Awaited::Surely : Awaited::No;
}

void BraskTestWorker::handlePacket(const vnPacket& packet)
{
    const uint8_t command = packet.command;
    if (command == clearScreenReply || command == writeTextReply)
        return;
    if (command == echoCommand) {
        matchEcho(packet);
    } else if (command >= firstErrorReply) {
        const int errorCode = packet.dataLength > 0 ? packet.data[0] : PingObserver::noCode;
        observer->errorReplied(errorCode, packetComs->lastPacketReadNs());
        emit logMessage(QStringLiteral("ERROR"),
                        QStringLiteral("Device error response: 0x%1, error code: %2")
                            .arg(hexByte(command), QString::number(std::max(errorCode, 0))));
    } else if (command >= firstReport) {
        observer->otherArrived(PingObserver::Other::Report, 0, packetComs->lastPacketReadNs());
        emit logMessage(QStringLiteral("INFO"),
                        QStringLiteral("Device report: 0x%1").arg(hexByte(command)));
    } else {
        observer->otherArrived(PingObserver::Other::Packet, 0, packetComs->lastPacketReadNs());
        emit logMessage(
            QStringLiteral("WARNING"),
            QStringLiteral("Received unexpected packet with command: 0x%1").arg(hexByte(command)));
    }
}

void BraskTestWorker::matchEcho(const vnPacket& packet)
{
    if (packet.dataLength < sizeof(quint64)) {
        observer->otherArrived(PingObserver::Other::ShortEcho, 0, packetComs->lastPacketReadNs());
        emit logMessage(QStringLiteral("WARNING"),
                        QStringLiteral("Received reply with insufficient data"));
        return;
    }
    const auto id = qFromLittleEndian<quint64>(packet.data);
    const auto ping = pendingPackets.constFind(id);
    if (ping == pendingPackets.constEnd()) {
        reportUnmatched(id);
        return;
    }
    if (isLate(*ping)) {
        giveUpAfterTimeout(id, packetComs->lastPacketReadNs());
        reportUnmatched(id);
        return;
    }
    takeEcho(packet, *ping);
    pendingPackets.remove(id);
}

bool BraskTestWorker::isLate(const PendingPacket& ping) const
{
    const qint64 roundTripNs = packetComs->lastPacketReadNs() - ping.startNs;
    return timing->limitsRoundTrips() && roundTripNs > config.timeoutMs * qint64{1'000'000};
}

void BraskTestWorker::reportUnmatched(quint64 id)
{
    using Other = PingObserver::Other;
    observer->otherArrived(id < nextSequenceId ? Other::LateEcho : Other::UnknownEcho, id,
                           packetComs->lastPacketReadNs());
    emit logMessage(QStringLiteral("WARNING"),
                    QStringLiteral("Received reply for unknown sequence ID: %1").arg(id));
}

void BraskTestWorker::takeEcho(const vnPacket& packet, const PendingPacket& ping)
{
    const quint64 id = ping.sequenceId;
    const qint64 readNs = packetComs->lastPacketReadNs();
    const PingObserver::Echo echo{id, readNs, readNs - ping.startNs, !testRunning};
    if (ping.payload != QByteArrayView(packet.data, packet.dataLength)) {
        observer->echoChanged(echo);
        emit logMessage(QStringLiteral("ERROR"),
                        QStringLiteral("Packet %1: Data mismatch! Expected %2 bytes, got %3")
                            .arg(id)
                            .arg(ping.payload.size())
                            .arg(packet.dataLength));
        ++stats.packetsLost;
        return;
    }
    observer->echoMatched(echo);
    ++stats.packetsReceived;
    const qint64 latencyMs = clock.nowMs() - ping.sendTime;
    recordLatency(latencyMs);
    updateSuccessRate();
    if (isReported(id))
        emit logMessage(QStringLiteral("SUCCESS"),
                        QStringLiteral("Packet %1: %2ms").arg(id).arg(latencyMs));
}
