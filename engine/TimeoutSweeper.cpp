#include "engine/BraskTestWorker.h"

#include <QDateTime>
#include <QTimer>

namespace {

/** A paused sender goes on once no more pings than this are open: well below where it pauses. */
constexpr int resumeLimit = 499;

} // namespace

void BraskTestWorker::checkTimeouts()
{
    if (!testRunning || !connected)
        return;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    QList<quint64> expired;
    for (const PendingPacket& ping : std::as_const(pendingPackets)) {
        if (now - ping.sendTime > config.timeoutMs)
            expired.append(ping.sequenceId);
    }
    for (const quint64 id : std::as_const(expired)) {
        ++stats.packetsLost;
        if (isReported(id))
            emit logMessage(
                QStringLiteral("TIMEOUT"),
                QStringLiteral("Packet %1 timeout after %2ms").arg(id).arg(config.timeoutMs));
        pendingPackets.remove(id);
    }
    updateSuccessRate();

    if (sendTimer != nullptr && !sendTimer->isActive() && pendingPackets.size() <= resumeLimit) {
        emit logMessage(QStringLiteral("INFO"), QStringLiteral("Resuming packet sending"));
        sendTimer->start();
    }
}
