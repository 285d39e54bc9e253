#pragma once

#include "measure/LatencyHistogram.h"
#include "measure/TimeSpans.h"

#include <QtGlobal>

#include <map>
#include <optional>
#include <vector>

/**
 * The figures of a run, complete or up to now. A default record is that of a run that has not
 * begun.
 */
struct RunFigures
{
    /** In microseconds. Exact, except for the percentiles, which are exact to 2 %. */
    struct Latency
    {
        double minimum = 0;
        double mean = 0;
        double p50 = 0;
        double p90 = 0;
        double p99 = 0;
        double p999 = 0;
        double maximum = 0;
        double standardDeviation = 0; ///< of the population, not estimated from a sample
    };
    /** How much later than scheduled pings left, in microseconds. */
    struct SendLag
    {
        double p99 = 0;
        double maximum = 0;
    };
    /** Pings that came due and were never sent; they are in no other count. */
    struct LeftOut
    {
        quint64 byComputer = 0; ///< because the computer was busy for too long
        quint64 byLine = 0;     ///< because the line had no room
    };
    /** The sum of the causes is the number of lost pings. */
    struct LossCauses
    {
        quint64 noEchoInTime = 0;
        quint64 noEchoAtEnd = 0;
        quint64 changedEcho = 0;
    };
    /**
     * Bursts: consecutive lost pings. A ping that was not sent neither ends nor lengthens a burst.
     */
    struct Bursts
    {
        quint64 count = 0;
        quint64 longest = 0; ///< pings
    };
    /** Numbers of bytes read in the run. Bytes that are still buffered at its end are not counted.
     */
    struct Bytes
    {
        quint64 inFrames = 0;
        quint64 skipped = 0; ///< not part of a correct frame: damaged, or sent by another program
        quint64 overrun = 0; ///< lost because the receiver's buffer was full
    };
    struct Unexpected
    {
        /**
         * Echoes of pings that had been given up. An echo of a ping more than 65536 ids ago always
         * counts as late.
         */
        quint64 lateEchoes = 0;
        quint64 repeatedEchoes = 0; ///< of pings that had an echo already, unchanged or changed
        quint64 unknownEchoes = 0;
        quint64 shortEchoes = 0;
        quint64 reports = 0;
        quint64 otherPackets = 0;
        std::map<int, quint64> errorReplies{}; ///< count by code, or by PingObserver::noCode
    };

    quint64 sent = 0;
    quint64 received = 0;
    qint64 sendingNs = 0; ///< from the run's start until sending ended, or until now
    /** No value while no ping was received. */
    std::optional<Latency> latencyUs{};
    std::optional<SendLag> sendLagUs{}; ///< no value while no ping was sent by a schedule
    std::vector<LatencyHistogram::Bin> latencyHistogram{};
    std::vector<TimeSpan> spans{};
    LossCauses lossCauses{};
    Bytes bytes{};
    quint64 sendFailures = 0;
    LeftOut leftOut{}; ///< 0 also if pings are not sent by a schedule
    Bursts lossBursts{};
    Unexpected unexpected{};
    /** The shortest round trip of a late echo. Only echoes of the last 2048 pings are timed. */
    std::optional<double> soonestLateUs{};
    quint64 outOfOrderEchoes = 0; ///< with a lower id than an earlier matched echo

    quint64 lost() const
    {
        return lossCauses.noEchoInTime + lossCauses.noEchoAtEnd + lossCauses.changedEcho;
    }
};
