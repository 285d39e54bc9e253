#include "runner/statusText.h"

#include "runner/verdict.h"

QString statusText(const RunOutcome& sofar, int durationSec)
{
    const TestStats& stats = sofar.stats;
    const double seconds = static_cast<double>(sofar.sendingMs) / 1000;
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
    if (hasLatencies(stats))
        text += QStringLiteral(" | %1/%2/%3 ms")
                    .arg(stats.minLatencyMs)
                    .arg(stats.avgLatencyMs)
                    .arg(stats.maxLatencyMs);
    return text;
}
