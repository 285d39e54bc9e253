#include "runner/verdict.h"

namespace {

QString percentText(double percent)
{
    return QString::number(percent, 'g', 4);
}

QStringList exceededLimits(const RunOptions& options, const TestStats& stats)
{
    if (stats.packetsSent == 0)
        return {QStringLiteral("no packet was sent")};
    if (stats.packetsReceived == 0)
        return {QStringLiteral("none of %1 packets came back").arg(stats.packetsSent)};

    QStringList reasons;
    const double lossPercent =
        100.0 * static_cast<double>(stats.packetsLost) / static_cast<double>(stats.packetsSent);
    if (lossPercent > options.maxLossPercent)
        reasons += QStringLiteral("%1 of %2 packets were lost (%3 %), allowed are %4 %")
                       .arg(QString::number(stats.packetsLost), QString::number(stats.packetsSent),
                            percentText(lossPercent), percentText(options.maxLossPercent));
    if (options.maxLatencyMs && stats.maxLatencyMs > *options.maxLatencyMs)
        reasons += QStringLiteral("the longest round trip took %1 ms, allowed are %2 ms")
                       .arg(stats.maxLatencyMs)
                       .arg(*options.maxLatencyMs);
    return reasons;
}

} // namespace

Verdict judge(const RunOptions& options, const RunOutcome& outcome)
{
    Verdict verdict;
    verdict.reasons = exceededLimits(options, outcome.stats);
    if (!verdict.reasons.isEmpty())
        verdict.status = ExitStatus::LimitExceeded;
    if (outcome.lineLost) {
        verdict.reasons.prepend(QStringLiteral("the line was lost during the run"));
        verdict.status = ExitStatus::LineLost;
    }
    if (!outcome.outputFault.isEmpty()) {
        verdict.reasons.prepend(outcome.outputFault);
        verdict.status = ExitStatus::OutputFailed;
    }
    return verdict;
}

QString verdictWord(ExitStatus status)
{
    switch (status) {
    case ExitStatus::Passed:
        return QStringLiteral("passed");
    case ExitStatus::LineLost:
        return QStringLiteral("lineLost");
    case ExitStatus::OutputFailed:
        return QStringLiteral("outputFailed");
    default:
        return QStringLiteral("failed");
    }
}

bool hasLatencies(const TestStats& stats)
{
    return stats.packetsReceived > 0;
}
