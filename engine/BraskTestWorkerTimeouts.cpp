#include "engine/BraskTestWorker.h"

#include "engine/timing/EngineTiming.h"

namespace {

/**
 * A paused sender resumes when at most this many pings are open: well below the pause limit of
 * 1000.
 */
constexpr int resumeLimit = 499;

} // namespace

void BraskTestWorker::checkTimeouts()
{
    if (!testRunning || !connected)
        return;
    const qint64 now = clock.nowMs();
    QList<quint64> expired;
    for (auto ping = pendingPackets.cbegin(); ping != pendingPackets.cend(); ++ping) {
        if (now - ping->sendTime > config.timeoutMs)
            expired.append(ping.key());
    }
    for (const quint64 id : std::as_const(expired))
        giveUpAfterTimeout(id, timing->nowNs());
    updateSuccessRate();

    if (timing->isSendingPaused() && pendingPackets.size() <= resumeLimit) {
        emit logMessage(QStringLiteral("INFO"), QStringLiteral("Resuming packet sending"));
        timing->resumeSending();
    }
}

void BraskTestWorker::giveUpAfterTimeout(quint64 id, qint64 atNs)
{
    ++stats.packetsLost;
    observer->pingGivenUp(id, atNs, false);
    if (isReported(id))
        emit logMessage(
            QStringLiteral("TIMEOUT"),
            QStringLiteral("Packet %1 timeout after %2ms").arg(id).arg(config.timeoutMs));
    pendingPackets.remove(id);
}
