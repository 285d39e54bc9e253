#include "runner/statusPieces.h"

namespace {

QString milliseconds(double us)
{
    return QStringLiteral("%1 ms").arg(us / 1000, 0, 'f', us < 10'000 ? 2 : 0);
}

} // namespace

QStringList statusPieces(const TestStats& stats, qint64 elapsedMs, int durationSec,
                         const std::optional<TimeSpan>& lastSecond)
{
    const double seconds = static_cast<double>(elapsedMs) / 1000;
    QString time = QStringLiteral("%1 s").arg(seconds, 0, 'f', 0);
    if (durationSec > 0)
        time += QStringLiteral(" of %1 s").arg(durationSec);
    const double rate = seconds > 0 ? static_cast<double>(stats.packetsSent) / seconds : 0;
    QStringList pieces{time, QStringLiteral(" | sent %1").arg(stats.packetsSent),
                       QStringLiteral(", received %1").arg(stats.packetsReceived),
                       QStringLiteral(", lost %1").arg(stats.packetsLost),
                       QStringLiteral(" | %1/s").arg(rate, 0, 'f', 1)};
    if (lastSecond && lastSecond->p50Us && lastSecond->p99Us)
        pieces << QStringLiteral(" | p50 ") + milliseconds(*lastSecond->p50Us)
               << QStringLiteral(", p99 ") + milliseconds(*lastSecond->p99Us);
    return pieces;
}
