#include "survey/trialMade.h"

#include <algorithm>

namespace {

/** Counts all received packets that are not an unchanged echo in time. */
quint64 otherAnswers(const RunFigures& figures)
{
    const RunFigures::Unexpected& heard = figures.unexpected;
    quint64 count = figures.lossCauses.changedEcho + heard.lateEchoes + heard.repeatedEchoes +
                    heard.unknownEchoes + heard.shortEchoes + heard.reports + heard.otherPackets;
    for (const auto& [code, replies] : heard.errorReplies)
        count += replies;
    return count;
}

} // namespace

Trial trialMade(const Survey::Next& next, const RunFigures& figures, int timeoutMs, bool cutShort)
{
    Trial trial{.packetsPerSecond = next.packetsPerSecond,
                .purpose = next.purpose,
                .seconds = static_cast<double>(figures.sendingNs) / 1e9,
                .sent = figures.sent,
                .received = figures.received,
                .lost = figures.lost(),
                .failed = figures.sendFailures,
                .cutShort = cutShort,
                .lateUs = lateOnlyUs(figures, timeoutMs),
                .otherAnswers = otherAnswers(figures)};
    const auto due = static_cast<quint64>(trial.seconds * trial.packetsPerSecond);
    trial.unsent = due - std::min(due, trial.sent + trial.failed);
    if (figures.latencyUs) {
        trial.p50Us = figures.latencyUs->p50;
        trial.p99Us = figures.latencyUs->p99;
    }
    if (figures.sendLagUs)
        trial.sendLagP99Us = figures.sendLagUs->p99;
    return trial;
}

std::optional<double> lateOnlyUs(const RunFigures& figures, int timeoutMs)
{
    if (cameInTime(figures, timeoutMs))
        return std::nullopt;
    if (!figures.latencyUs)
        return figures.soonestLateUs;
    return std::min(figures.latencyUs->minimum,
                    figures.soonestLateUs.value_or(figures.latencyUs->minimum));
}

bool cameInTime(const RunFigures& figures, int timeoutMs)
{
    return figures.latencyUs && figures.latencyUs->minimum <= 1000.0 * timeoutMs;
}
