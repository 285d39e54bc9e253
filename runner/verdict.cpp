#include "runner/verdict.h"

namespace {

QString percentText(double percent)
{
    return QString::number(percent, 'g', 4);
}

/** Formats milliseconds, not finer than they are measured. */
QString msText(double ms)
{
    return QString::number(ms, 'g', 6);
}

Check broken(const QString& name, const QString& reason)
{
    return {name, reason.isEmpty() ? Check::Result::Kept : Check::Result::Broken, reason};
}

QString lossReason(const TestStats& stats, double allowedPercent)
{
    const double percent =
        100.0 * static_cast<double>(stats.packetsLost) / static_cast<double>(stats.packetsSent);
    if (percent <= allowedPercent)
        return {};
    return QStringLiteral("%1 of %2 packets were lost (%3 %), allowed are %4 %")
        .arg(QString::number(stats.packetsLost), QString::number(stats.packetsSent),
             percentText(percent), percentText(allowedPercent));
}

QString latencyReason(const QString& what, double us, double allowedMs)
{
    if (us <= allowedMs * 1000)
        return {};
    return QStringLiteral("%1 took %2 ms, allowed are %3 ms")
        .arg(what, msText(us / 1000), msText(allowedMs));
}

QList<Check> limits(const RunOptions& options, const RunOutcome& outcome)
{
    const TestStats& stats = outcome.stats;
    const auto& latency = outcome.figures.latencyUs;
    QString traffic;
    if (stats.packetsSent == 0)
        traffic = QStringLiteral("no packet was sent");
    else if (stats.packetsReceived == 0)
        traffic = QStringLiteral("none of %1 packets came back%2")
                      .arg(stats.packetsSent)
                      .arg(outcome.figures.unexpected.lateEchoes > 0 ? " in time" : "");

    QList<Check> checks{broken(QStringLiteral("traffic"), traffic)};
    const auto add = [&](const QString& name, const auto& reason) {
        if (traffic.isEmpty())
            checks += broken(name, reason());
        else
            checks += {name, Check::Result::Skipped};
    };
    add(QStringLiteral("loss"), [&] { return lossReason(stats, options.maxLossPercent); });
    if (options.maxLatencyMs)
        add(QStringLiteral("longest round trip"), [&] {
            return latencyReason(QStringLiteral("the longest round trip"),
                                 latency ? latency->maximum : 0, *options.maxLatencyMs);
        });
    if (options.maxP99Ms)
        add(QStringLiteral("99th percentile"), [&] {
            return latencyReason(QStringLiteral("1 round trip in 100"), latency ? latency->p99 : 0,
                                 *options.maxP99Ms);
        });
    return checks;
}

/** Checks whether the pings were sent as scheduled. */
Check schedule(const RunOutcome& outcome, double allowedPercent)
{
    const RunFigures& figures = outcome.figures;
    const auto [byComputer, byLine] = figures.leftOut;
    const quint64 due = outcome.stats.packetsSent + figures.sendFailures + byComputer + byLine;
    Check check{QStringLiteral("schedule")};
    const double percent =
        due > 0 ? 100.0 * static_cast<double>(byComputer) / static_cast<double>(due) : 0;
    if (percent <= allowedPercent)
        return check;
    check.result = Check::Result::Disturbed;
    check.reason = QStringLiteral("%1 of %2 packets never left because this computer was busy "
                                  "(%3 %), allowed are %4 %")
                       .arg(QString::number(byComputer), QString::number(due), percentText(percent),
                            percentText(allowedPercent));
    return check;
}

} // namespace

QStringList Verdict::reasons() const
{
    QStringList texts;
    for (const Check& check : checks) {
        if (check.result == Check::Result::Broken || check.result == Check::Result::Disturbed)
            texts += check.reason;
    }
    return texts;
}

Verdict judge(const RunOptions& options, const RunOutcome& outcome)
{
    Verdict verdict;
    verdict.checks += broken(QStringLiteral("files"), outcome.outputFault);
    verdict.checks +=
        broken(QStringLiteral("line"),
               outcome.lineLost ? QStringLiteral("the line was lost during the run") : QString());
    verdict.checks += limits(options, outcome);
    const bool unitFailed = !verdict.reasons().isEmpty();
    if (options.timing == TimingKind::Exact)
        verdict.checks += schedule(outcome, options.maxLeftOutPercent);
    if (!outcome.outputFault.isEmpty())
        verdict.status = ExitStatus::OutputFailed;
    else if (outcome.lineLost)
        verdict.status = ExitStatus::LineLost;
    else if (unitFailed)
        verdict.status = ExitStatus::Failed;
    else if (!verdict.reasons().isEmpty())
        verdict.status = ExitStatus::Disturbed;
    return verdict;
}

RunVerdict reportedVerdict(ExitStatus status)
{
    switch (status) {
    case ExitStatus::Passed:
        return RunVerdict::Passed;
    case ExitStatus::LineLost:
        return RunVerdict::LineLost;
    case ExitStatus::OutputFailed:
        return RunVerdict::OutputFailed;
    case ExitStatus::Disturbed:
        return RunVerdict::Disturbed;
    default:
        return RunVerdict::Failed;
    }
}
