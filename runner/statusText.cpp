#include "runner/statusText.h"

namespace {

QString milliseconds(double us)
{
    return QString::number(us / 1000, 'f', us < 10'000 ? 2 : 0);
}

} // namespace

QString statusText(const TestStats& stats, qint64 elapsedMs, int durationSec,
                   const std::optional<TimeSpan>& lastSecond)
{
    const double seconds = static_cast<double>(elapsedMs) / 1000;
    QString time = QStringLiteral("%1 s").arg(seconds, 0, 'f', 0);
    if (durationSec > 0)
        time += QStringLiteral(" of %1 s").arg(durationSec);
    const double rate = seconds > 0 ? static_cast<double>(stats.packetsSent) / seconds : 0;
    QString text = QStringLiteral("%1 | sent %2, received %3, lost %4 | %5/s")
                       .arg(time)
                       .arg(stats.packetsSent)
                       .arg(stats.packetsReceived)
                       .arg(stats.packetsLost)
                       .arg(rate, 0, 'f', 1);
    if (lastSecond && lastSecond->p50Us && lastSecond->p99Us)
        text += QStringLiteral(" | p50 %1, p99 %2 ms")
                    .arg(milliseconds(*lastSecond->p50Us), milliseconds(*lastSecond->p99Us));
    return text;
}
