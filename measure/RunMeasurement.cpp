#include "measure/RunMeasurement.h"

#include "measure/PingRecord.h"

#include <algorithm>

RunFigures RunMeasurement::figures() const
{
    const std::lock_guard lock(mutex);
    RunFigures all = counts;
    all.latencyHistogram = roundTrips.bins();
    all.spans = timeSpans.spans();
    all.lossBursts = {bursts.count, bursts.longest};
    if (roundTrips.count() > 0)
        all.latencyUs = {.minimum = roundTrips.minimumUs(),
                         .mean = roundTrips.meanUs(),
                         .p50 = *roundTrips.percentileUs(0.5),
                         .p90 = *roundTrips.percentileUs(0.9),
                         .p99 = *roundTrips.percentileUs(0.99),
                         .p999 = *roundTrips.percentileUs(0.999),
                         .maximum = roundTrips.maximumUs(),
                         .standardDeviation = roundTrips.standardDeviationUs()};
    if (sendLags.count() > 0)
        all.sendLagUs = {*sendLags.percentileUs(0.99), sendLags.maximumUs()};
    return all;
}

std::optional<TimeSpan> RunMeasurement::lastSecond() const
{
    const std::lock_guard lock(mutex);
    return timeSpans.lastSecond();
}

void RunMeasurement::runBegan(qint64 atNs)
{
    sequence.clear();
    beganNs = atNs;
    sending = true;

    const std::lock_guard lock(mutex);
    counts = {};
    roundTrips.clear();
    sendLags.clear();
    timeSpans = {};
    bursts = {};
    echoedBelow = 0;
}

void RunMeasurement::pingSent(const Sent& ping)
{
    sequence.opened(ping.id, ping.sizeBytes, ping.startNs - beganNs);
    const std::lock_guard lock(mutex);
    ++counts.sent;
    timeSpans.sent(sinceStart(ping.startNs));
    if (ping.dueNs >= 0)
        sendLags.add(ping.startNs - ping.dueNs);
}

void RunMeasurement::sendFailed(quint64 id, int sizeBytes, qint64 atNs)
{
    sequence.opened(id, sizeBytes, atNs - beganNs);
    {
        const std::lock_guard lock(mutex);
        ++counts.sendFailures;
        timeSpans.advanceTo(sinceStart(atNs));
    }
    endPing(id, PingFate::NotSent, -1);
}

void RunMeasurement::pingsLeftOut(const LeftOut& pings, qint64 atNs)
{
    const std::lock_guard lock(mutex);
    counts.leftOut.byComputer += static_cast<quint64>(pings.byComputer);
    counts.leftOut.byLine += static_cast<quint64>(pings.byLine);
    timeSpans.advanceTo(sinceStart(atNs));
}

void RunMeasurement::echoMatched(const Echo& echo)
{
    {
        const std::lock_guard lock(mutex);
        ++counts.received;
        if (echo.id < echoedBelow)
            ++counts.outOfOrderEchoes;
        echoedBelow = std::max(echoedBelow, echo.id + 1);
        roundTrips.add(echo.roundTripNs);
        timeSpans.received(sinceStart(echo.readNs), echo.roundTripNs);
    }
    endPing(echo.id, echo.afterEnd ? PingFate::ReceivedAfterEnd : PingFate::Received,
            echo.roundTripNs);
}

void RunMeasurement::echoChanged(const Echo& echo)
{
    {
        const std::lock_guard lock(mutex);
        ++counts.lossCauses.changedEcho;
        timeSpans.lost(sinceStart(echo.readNs));
    }
    endPing(echo.id, PingFate::ChangedEcho, echo.roundTripNs);
}

void RunMeasurement::pingGivenUp(quint64 id, qint64 atNs, bool atEnd)
{
    {
        const std::lock_guard lock(mutex);
        ++(atEnd ? counts.lossCauses.noEchoAtEnd : counts.lossCauses.noEchoInTime);
        timeSpans.lost(sinceStart(atNs));
    }
    endPing(id, atEnd ? PingFate::NoEchoAtEnd : PingFate::NoEchoInTime, -1);
}

void RunMeasurement::otherArrived(Other what, quint64 id, qint64 atNs)
{
    const std::lock_guard lock(mutex);
    ++counterOf(what, id);
    if (what == Other::LateEcho && !sequence.wasAnswered(id))
        timeLateEcho(id, atNs);
    timeSpans.advanceTo(sinceStart(atNs));
}

void RunMeasurement::errorReplied(int code, qint64 atNs)
{
    const std::lock_guard lock(mutex);
    ++counts.unexpected.errorReplies[code];
    timeSpans.advanceTo(sinceStart(atNs));
}

void RunMeasurement::sendingEnded(qint64 atNs)
{
    const std::lock_guard lock(mutex);
    timeSpans.advanceTo(sinceStart(atNs));
    sending = false;
}

void RunMeasurement::runEnded(qint64 atNs)
{
    const std::lock_guard lock(mutex);
    timeSpans.advanceTo(sinceStart(atNs));
}

void RunMeasurement::frameTaken(std::span<const uint8_t> frame, qint64)
{
    const std::lock_guard lock(mutex);
    counts.bytes.inFrames += frame.size();
}

void RunMeasurement::bytesSkipped(std::span<const uint8_t> bytes, qint64)
{
    const std::lock_guard lock(mutex);
    counts.bytes.skipped += bytes.size();
}

void RunMeasurement::bytesOverrun(std::span<const uint8_t> bytes, qint64)
{
    const std::lock_guard lock(mutex);
    counts.bytes.overrun += bytes.size();
}

/**
 * Converts a time to nanoseconds since the run's start. While pings are sent, it also advances
 * sendingNs.
 */
qint64 RunMeasurement::sinceStart(qint64 atNs)
{
    if (sending)
        counts.sendingNs = std::max(counts.sendingNs, atNs - beganNs);
    return atNs - beganNs;
}

quint64& RunMeasurement::counterOf(Other what, quint64 id)
{
    RunFigures::Unexpected& unexpected = counts.unexpected;
    switch (what) {
    case Other::LateEcho:
        return sequence.wasAnswered(id) ? unexpected.repeatedEchoes : unexpected.lateEchoes;
    case Other::UnknownEcho:
        return unexpected.unknownEchoes;
    case Other::ShortEcho:
        return unexpected.shortEchoes;
    case Other::Report:
        return unexpected.reports;
    case Other::Packet:
        break;
    }
    return unexpected.otherPackets;
}

void RunMeasurement::timeLateEcho(quint64 id, qint64 atNs)
{
    const std::optional<qint64> sentNs = sequence.sentNs(id);
    if (!sentNs)
        return;
    const double us = static_cast<double>(atNs - beganNs - *sentNs) / 1000;
    counts.soonestLateUs = std::min(us, counts.soonestLateUs.value_or(us));
}

/** Calls the sink without the lock, because a sink may be slow. */
void RunMeasurement::endPing(quint64 id, PingFate fate, qint64 roundTripNs)
{
    sequence.settled(id, fate, roundTripNs);
    while (const std::optional<PingRecord> ping = sequence.takeEnded()) {
        {
            const std::lock_guard lock(mutex);
            bursts.add(ping->fate);
        }
        if (sink != nullptr)
            sink->pingEnded(*ping);
    }
}
