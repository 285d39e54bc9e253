#include "engine/BraskTestWorker.h"

#include "engine/timing/EngineTiming.h"
#include "link/vnPacketComs.h"
#include "link/vnSerialComs.h"

#include <QRandomGenerator>
#include <QtEndian>

#include <algorithm>

namespace {

constexpr int pendingLimit = 1000;
constexpr int sequenceIdSize = sizeof(quint64);

} // namespace

/** A ping of `size` data bytes: the id, least significant byte first, then the payload's bytes. */
vnPacket BraskTestWorker::makePing(quint64 sequenceId, int size)
{
    vnPacket ping{}; // its command is 0
    ping.dataLength = static_cast<uint8_t>(size);
    qToLittleEndian(sequenceId, ping.data);
    payload.fill(std::span(ping.data).first(ping.dataLength).subspan(sequenceIdSize));
    return ping;
}

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

    const QByteArray sentBytes(reinterpret_cast<const char*>(ping.data), ping.dataLength);
    const qint64 startNs = serialPort->lastWriteNs();
    pendingPackets.insert(id, {id, sentBytes, clock.nowMs(), startNs});
    ++stats.packetsSent;
    observer->pingSent({id, ping.dataLength, timing->dueNs(), startNs});
    if (isReported(id))
        emit logMessage(QStringLiteral("INFO"),
                        QStringLiteral("Sent packet %1 (%2 bytes)").arg(id).arg(ping.dataLength));
}
