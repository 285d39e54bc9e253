#include "engine/BraskTestWorker.h"

#include "engine/timing/EngineTiming.h"
#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"

#include <QRandomGenerator>
#include <QtEndian>

#include <algorithm>

namespace {

constexpr int pendingLimit = 1000;
constexpr uint8_t pingCommand = 0x00;
constexpr int sequenceIdSize = sizeof(quint64);

/** A ping of `size` data bytes: the id, least significant byte first, then random filler. */
vnPacket makePing(quint64 sequenceId, int size)
{
    vnPacket ping{};
    ping.command = pingCommand;
    ping.dataLength = static_cast<uint8_t>(size);
    qToLittleEndian(sequenceId, ping.data);
    for (int i = sequenceIdSize; i < size; ++i)
        ping.data[i] = static_cast<uint8_t>(QRandomGenerator64::global()->bounded(256));
    return ping;
}

} // namespace

void BraskTestWorker::sendNextPacket()
{
    if (!testRunning || !connected)
        return;
    if (pendingPackets.size() >= pendingLimit) {
        emit logMessage(QStringLiteral("WARNING"),
                        QStringLiteral("Too many pending packets (1000), pausing send"));
        timing->pauseSending();
        return;
    }

    const int drawnSize =
        QRandomGenerator64::global()->bounded(config.minDataSize, config.maxDataSize + 1);
    const quint64 id = nextSequenceId++; // used up even when the send fails
    vnPacket ping = makePing(id, std::max(drawnSize, sequenceIdSize));
    if (!packetComs->sendPacket(ping)) {
        observer->sendFailed(id, ping.dataLength, timing->nowNs());
        emit logMessage(QStringLiteral("ERROR"),
                        QStringLiteral("Failed to send packet %1").arg(id));
        return;
    }

    const QByteArray payload(reinterpret_cast<const char*>(ping.data), ping.dataLength);
    const qint64 startNs = serialPort->lastWriteNs();
    pendingPackets.insert(id, {id, payload, clock.nowMs(), startNs});
    ++stats.packetsSent;
    observer->pingSent({id, ping.dataLength, timing->dueNs(), startNs});
    if (isReported(id))
        emit logMessage(QStringLiteral("INFO"),
                        QStringLiteral("Sent packet %1 (%2 bytes)").arg(id).arg(ping.dataLength));
}
