#include "soak/RunJudgement.h"

#include "tests/support/csvRecord.h"

#include <algorithm>

namespace {

using End = PingEntry::End;
using Other = PingObserver::Other;

/** What the machine may be late by. */
constexpr qint64 slackNs = 100'000'000;
/** An engine that waits for room on the line does not read meanwhile. */
constexpr qint64 writeNs = 2'000'000'000;
/** The receive ring's 1240 bytes, less what an earlier look may have left, and some slack. */
constexpr int surelyTaken = 1240 - 128 - 100;
/** Frames that begin within a chance frame's 124 data bytes, at 12 bytes each, and one over. */
constexpr quint64 hiddenPerChanceFrame = 12;

/** Copies of its echo that a ping was sent with a correct CRC. */
quint64 echoes(const LedgerEntry& ping)
{
    const bool isEcho = ping.answeredNs >= 0 && ping.what.corrupted + ping.what.errorReplies == 0;
    return isEcho ? 1 + ping.what.duplicated : 0;
}

quint64 changedEchoes(const LedgerEntry& ping)
{
    return ping.what.echoesIntact > 0 ? 0 : echoes(ping);
}

struct Judge
{
    const RunAccount& run;
    SoakRecord& record;
    quint64 changed = 0; ///< echoes read, under whatever number
    quint64 missing = 0; ///< frames that lay in front of the engine in time, and were not read
    quint64 surplus = 0; ///< frames that were read, and not sent

    bool isInTime(const LedgerEntry& ping) const
    {
        const qint64 untilNs = std::min(run.endNs - slackNs, run.cutNs - writeNs);
        return ping.closedNs >= 0 && ping.closedNs < untilNs;
    }

    void checkCounters()
    {
        const TestStats& stats = run.stats;
        quint64 sent = 0;
        quint64 matched = 0;
        for (const PingEntry& ping : run.pings) {
            sent += ping.startsNs.isEmpty() ? 0 : 1;
            matched += ping.endings.value(0).first == End::Matched ? 1 : 0;
        }
        record.check(stats.packetsSent == sent && stats.packetsReceived == matched &&
                         stats.packetsLost == sent - matched,
                     "the counters are not the sums of what was told");
        record.check(run.completions == 1 && run.statsAgree, "statistics or end out of order");
        const std::array latencies{stats.minLatencyMs, stats.avgLatencyMs, stats.maxLatencyMs};
        record.check(matched == 0 || std::ranges::is_sorted(latencies), "mean beyond extremes");
    }

    /** True when no ping is still to arrive. */
    bool judgePings()
    {
        QMap<quint64, LedgerEntry> arrived;
        for (const LedgerEntry& ping : run.arrived)
            arrived.insert(ping.number, ping);
        record.check(std::cmp_equal(arrived.size(), run.arrived.size()), "a ping arrived twice");
        bool isMissing = false;
        for (auto ping = run.pings.begin(); ping != run.pings.end(); ++ping) {
            const qsizetype sendings = ping->startsNs.size();
            record.check(sendings == ping->endings.size() && sendings <= 1, "told of wrongly");
            if (sendings == 0 || ping->endings.isEmpty())
                continue;
            const bool hasArrived = arrived.contains(ping.key());
            record.check(!hasArrived || !isMissing, "a ping arrived behind one that did not");
            isMissing = !hasArrived;
            ++record.totals["pings " + judgePing(ping.key(), *ping, arrived.take(ping.key()))];
        }
        record.check(arrived.isEmpty(), "a ping arrived that was not sent");
        const bool isSlow = run.faults.baudRate > 0; // then pings may be on their way for long
        record.check(!isMissing || isSlow || run.cutNs != RunAccount::never, "not all arrived");
        return !isMissing;
    }

    /** How the two words on it go together. */
    QString judgePing(quint64 id, const PingEntry& ping, const LedgerEntry& its)
    {
        const QString name = QStringLiteral("ping %1: ").arg(id);
        const auto [how, atNs] = ping.endings.first();
        const bool isGivenUp = how == End::GivenUp;
        const bool isChanged = changedEchoes(its) > 0;
        const quint64 read = run.others[{Other::LateEcho, id}] + (isGivenUp ? 0 : 1);
        record.check(read <= echoes(its), name + "more echoes than were sent");
        record.check(isGivenUp || isChanged == (how == End::Changed), name + "wrongly compared");
        const qint64 limitNs = run.config.timeoutMs * 1'000'000LL;
        const qint64 tookNs = atNs - ping.startsNs.first();
        const bool isByEcho = !isGivenUp || ping.isByEcho;
        record.check(!run.isExact || !isByEcho || isGivenUp == (tookNs > limitNs),
                     name + "not judged by its round trip");
        record.check(!isGivenUp || tookNs >= limitNs || atNs >= run.waitNs,
                     name + "given up too early");
        record.check(!isGivenUp || read == 0 || !run.isExact || ping.isByEcho ||
                         its.answeredNs > atNs - slackNs,
                     name + "given up though its echo was there");
        if (isChanged)
            changed += read;
        else if (isInTime(its))
            missing += echoes(its) - std::min(echoes(its), read);
        if (read > 0)
            return isGivenUp ? "late" : "agreed";
        if (echoes(its) == 0 && its.closedNs >= 0)
            return "agreed";
        if (!isInTime(its))
            return run.cutNs == RunAccount::never ? "late" : "line cut";
        return isChanged ? "agreed" : "unread"; // a changed one may come under another number
    }

    /** Holds correct frames of one kind, so many of each ping, against those `read`. */
    void compare(quint64 read, const std::function<quint64(const LedgerEntry&)>& sent)
    {
        quint64 least = 0;
        quint64 most = 0;
        for (const LedgerEntry& ping : run.arrived) {
            least += isInTime(ping) ? sent(ping) : 0;
            most += sent(ping);
        }
        missing += least - std::min(least, read);
        surplus += read - std::min(most, read);
    }

    /** True when each frame was read, and nothing else. */
    bool judgeFrames()
    {
        compare(run.errorReplies, [](const LedgerEntry& p) {
            return (p.what.corrupted > 0 ? 0 : p.what.errorReplies) * (1 + p.what.duplicated);
        });
        compare(run.others[{Other::Report, 0}], [](const auto& p) { return p.what.reports; });
        changed += run.others[{Other::UnknownEcho, 0}] + run.others[{Other::ShortEcho, 0}];
        compare(changed, changedEchoes);
        surplus += run.others[{Other::Packet, 0}];
        if (missing + surplus == 0)
            return true;
        const bool isOverflow = run.peakBytes > surelyTaken;
        const ModuleFaults& f = run.faults;
        const bool isChance = f.baudRate > 0 || f.garbage + f.corrupt + f.split > 0;
        record.check(isOverflow || (isChance && missing <= hiddenPerChanceFrame * surplus),
                     QString::asprintf("%llu frames unread, %llu of nobody, %d bytes waited",
                                       missing, surplus, run.peakBytes));
        ++record.totals[isOverflow ? "runs with ring overflow" : "runs with chance frames"];
        return false;
    }
};

} // namespace

bool judgeRun(const RunAccount& run, SoakRecord& record)
{
    Judge judge{run, record};
    judge.checkCounters();
    const bool haveArrived = judge.judgePings();
    const auto isClosed = [](const LedgerEntry& ping) { return ping.closedNs >= 0; };
    return judge.judgeFrames() && haveArrived && std::ranges::all_of(run.arrived, isClosed);
}

void judgeEventFile(const QString& path, const RunAccount& run, SoakRecord& record)
{
    QFile file(path);
    record.check(file.open(QIODevice::ReadOnly) && run.events.fault().isEmpty(), "no event file");
    const QString content = QString::fromUtf8(file.readAll());
    QStringView text(content);
    takeCsvRecord(text); // the header
    for (const auto& [type, message] : run.lines) {
        const QStringList row = takeCsvRecord(text).value_or(QStringList());
        record.check(row.size() == 6 && row[2] == type && row[5] == message,
                     "the event file has no row for: " + message);
    }
    const TestStats& stats = run.stats;
    const QString summary =
        QString::asprintf("Test stopped. Sent: %llu, Received: %llu, Lost: %llu, ",
                          stats.packetsSent, stats.packetsReceived, stats.packetsLost);
    record.check(text.isEmpty() && run.lines.value(run.lines.size() - 1).second.startsWith(summary),
                 "the event file does not end with the counters");
}
