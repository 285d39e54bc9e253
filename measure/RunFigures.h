#pragma once

#include "measure/LatencyHistogram.h"
#include "measure/TimeSpans.h"

#include <QtGlobal>

#include <map>
#include <optional>
#include <vector>

/** The figures of a run, or of a run up to now. A default record is that of a run not yet begun. */
struct RunFigures
{
    /** Microseconds; exact but for the percentiles, which are exact to 2 %. */
    struct Latency
    {
        double minimum = 0;
        double mean = 0;
        double p50 = 0;
        double p90 = 0;
        double p99 = 0;
        double p999 = 0;
        double maximum = 0;
        double standardDeviation = 0; ///< of these round trips, not estimated from them as a sample
    };
    /** By how much pings left later than the schedule wanted, in microseconds. */
    struct SendLag
    {
        double p99 = 0;
        double maximum = 0;
    };
    /** Pings that the schedule wanted and that never left; they are in no other count. */
    struct LeftOut
    {
        quint64 byComputer = 0; ///< it was busy for too long
        quint64 byLine = 0;     ///< it had no room
    };
    /** The causes together are all lost pings. */
    struct LossCauses
    {
        quint64 noEchoInTime = 0;
        quint64 noEchoAtEnd = 0;
        quint64 changedEcho = 0;
    };
    /** Rows of lost pings; a ping that was not sent neither breaks nor lengthens one. */
    struct Bursts
    {
        quint64 count = 0;
        quint64 longest = 0; ///< pings
    };
    /** What became of the bytes read; those that still waited at the run's end are in no count. */
    struct Bytes
    {
        quint64 inFrames = 0;
        quint64 skipped = 0; ///< part of no correct frame: damaged, or sent by somebody else
        quint64 overrun = 0; ///< read too late: the receiver's buffer was full
    };
    struct Unexpected
    {
        /** Of pings given up. One of a ping more than 65536 ids ago is always taken for late. */
        quint64 lateEchoes = 0;
        quint64 repeatedEchoes = 0; ///< of pings that an echo, perhaps a changed one, had answered
        quint64 unknownEchoes = 0;
        quint64 shortEchoes = 0;
        quint64 reports = 0;
        quint64 otherPackets = 0;
        std::map<int, quint64> errorReplies{}; ///< how many, by code or PingObserver::noCode
    };

    quint64 sent = 0;
    quint64 received = 0;
    qint64 sendingNs = 0; ///< from the run's start until no more pings were sent, or until now
    /** Nothing while no ping was received. */
    std::optional<Latency> latencyUs{};
    std::optional<SendLag> sendLagUs{}; ///< nothing while no ping left by a schedule
    std::vector<LatencyHistogram::Bin> latencyHistogram{};
    std::vector<TimeSpan> spans{};
    LossCauses lossCauses{};
    Bytes bytes{};
    quint64 sendFailures = 0;
    LeftOut leftOut{}; ///< zeros too where pings leave by no schedule
    Bursts lossBursts{};
    Unexpected unexpected{};
    /** The shortest round trip of a late echo; only echoes of the last 2048 pings are timed. */
    std::optional<double> soonestLateUs{};
    quint64 outOfOrderEchoes = 0; ///< with a lower id than a matched echo before them

    quint64 lost() const
    {
        return lossCauses.noEchoInTime + lossCauses.noEchoAtEnd + lossCauses.changedEcho;
    }
};
