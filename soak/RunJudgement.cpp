#include "soak/RunJudgement.h"

#include "soak/csvRecord.h"

#include <QFile>

#include <algorithm>

namespace {

/** The receive ring's 1240 bytes, less what an earlier look may have left in it, and some slack. */
constexpr int surelyTaken = 1240 - 128 - 100;
/** Frames that begin within the 124 data bytes of a chance frame, at 12 bytes each, and one over.
 */
constexpr qint64 hiddenPerChanceFrame = 12;

struct Differences
{
    qint64 echoes;
    qint64 errorReplies;
    qint64 reports;

    qint64 missing() const
    {
        return std::max<qint64>(echoes, 0) + std::max<qint64>(errorReplies, 0) +
               std::max<qint64>(reports, 0);
    }
    qint64 surplus() const { return missing() - echoes - errorReplies - reports; }
};

Differences differences(const RunTally& tally, const AnswerForecast& forecast)
{
    const auto minus = [](quint64 a, quint64 b) {
        return static_cast<qint64>(a) - static_cast<qint64>(b);
    };
    return {minus(forecast.echoes, tally.echoesTaken()),
            minus(forecast.errorReplies, tally.errorReplies),
            minus(forecast.reports, tally.reports)};
}

void check(QStringList& disagreements, bool holds, const QString& rule)
{
    if (!holds)
        disagreements += rule;
}

/** What must be so whatever happened to the line. */
QStringList brokenSums(const RunEvidence& run)
{
    const TestStats& stats = run.tally.stats;
    QStringList broken;
    if (!run.tally.disorder.isEmpty())
        broken += run.tally.disorder;
    check(broken, run.tally.completions == 1, QStringLiteral("one announcement of the end"));
    check(broken, stats.packetsSent == stats.packetsReceived + stats.packetsLost,
          QStringLiteral("sent = received + lost"));
    check(broken, stats.packetsReceived <= run.module.echoesIntact,
          QStringLiteral("received <= echoesIntact"));
    check(broken, run.module.pingsReceived <= stats.packetsSent,
          QStringLiteral("pingsReceived <= sent"));
    check(
        broken,
        stats.minLatencyMs == TestStats::noLatencyYet ||
            (stats.minLatencyMs <= stats.avgLatencyMs && stats.avgLatencyMs <= stats.maxLatencyMs),
        QStringLiteral("shortest <= mean <= longest round trip"));
    return broken;
}

/** What must be so besides when nothing excuses a difference. */
QStringList brokenAgreements(const RunEvidence& run)
{
    const RunTally& tally = run.tally;
    QStringList broken;
    check(broken, run.module.pingsReceived == tally.stats.packetsSent,
          QStringLiteral("pingsReceived = sent"));
    check(broken, run.module.echoesIntact == run.forecast.intact,
          QStringLiteral("echoesIntact = those drawn"));
    check(broken, run.module.otherRequests + run.module.packetsIgnored == 0,
          QStringLiteral("no request but pings and the display's"));
    // Beyond second copies, an echo of no known id is one that came after its time-out.
    const quint64 strangers = tally.unknownIds + tally.shortEchoes;
    const quint64 late = strangers - std::min(strangers, run.forecast.repeats);
    check(broken, run.module.echoesIntact - tally.stats.packetsReceived <= late,
          QStringLiteral("received = echoesIntact - late ones"));
    return broken;
}

bool isSummaryOf(const TestStats& stats, const QString& message)
{
    return message.startsWith(QStringLiteral("Test stopped. Sent: %1, Received: %2, Lost: %3, ")
                                  .arg(stats.packetsSent)
                                  .arg(stats.packetsReceived)
                                  .arg(stats.packetsLost));
}

} // namespace

RunJudgement judgeRun(const RunEvidence& run)
{
    RunJudgement verdict;
    verdict.disagreements = brokenSums(run);
    const Differences differ = differences(run.tally, run.forecast);
    const qint64 surplus = differ.surplus() + static_cast<qint64>(run.tally.unexpected);
    if (run.lineWasCut || run.tally.failedSends > 0) {
        verdict.account = Account::Cut;
    } else if (!run.answeredInTime) {
        verdict.account = Account::Late;
    } else if (differ.missing() == 0 && surplus == 0) {
        verdict.disagreements += brokenAgreements(run);
        return verdict;
    } else if (run.peakBytes > surelyTaken) {
        verdict.account = Account::RingOverflow;
    } else if (run.chanceIsLikely && differ.missing() <= hiddenPerChanceFrame * surplus) {
        verdict.account = Account::ChanceFrame;
    } else {
        verdict.disagreements +=
            QStringLiteral("frames sent less frames taken: %1 echoes, %2 error replies, %3 "
                           "reports; %4 unexpected; at most %5 bytes waited")
                .arg(differ.echoes)
                .arg(differ.errorReplies)
                .arg(differ.reports)
                .arg(run.tally.unexpected)
                .arg(run.peakBytes);
    }
    verdict.framesUnread = static_cast<quint64>(differ.missing());
    return verdict;
}

QStringList judgeEventFile(const QString& path, const RunTally& tally)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {QStringLiteral("the event file cannot be read")};
    const QString content = QString::fromUtf8(file.readAll());
    QStringView text(content);
    QList<QStringList> rows;
    while (const std::optional<QStringList> row = takeCsvRecord(text))
        rows += *row;
    if (!text.isEmpty())
        return {QStringLiteral("the event file is malformed behind row %1").arg(rows.size())};
    if (rows.size() != tally.lines.size() + 1)
        return {QStringLiteral("%1 lines of the engine, %2 rows in the event file")
                    .arg(tally.lines.size())
                    .arg(rows.size())};
    constexpr qsizetype columns = 6;
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const QStringList& row = rows[i];
        if (row.size() != columns || (i > 0 && EngineLine{row[2], row[5]} != tally.lines[i - 1]))
            return {QStringLiteral("row %1 of the event file: %2").arg(i).arg(row.join(u'|'))};
    }
    if (!isSummaryOf(tally.stats, rows.constLast().constLast()))
        return {QStringLiteral("the summary row does not have the counters")};
    return {};
}
