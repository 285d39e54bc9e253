#pragma once

#include "measure/RunFormat.h"
#include "report/read/TestPlace.h"

#include <QDateTime>
#include <QStringList>

#include <vector>

/** The number of round trips from `lowerUs` to less than `upperUs`. */
struct LatencyBin
{
    double lowerUs{};
    double upperUs{};
    qint64 count{};
};

/** A time interval of the run. The seconds in a report are intervals too. */
struct Interval
{
    double start{};  ///< seconds since the run's start
    double length{}; ///< seconds
    qint64 sent{};
    qint64 received{};
    qint64 lost{};
    Figure p50Us{};
    Figure maximumUs{};
};

struct RunSettings
{
    QString port;
    int baudRate{};
    int packetsPerSecond{};
    int minDataSizeBytes{};
    int maxDataSizeBytes{};
    int timeoutMs{};
    int durationSeconds{}; ///< 0: until a signal ends the run
    bool moduleScreen{};
    QString payload{QStringLiteral("random")}; ///< as in the report; older reports have none
    bool loopback{};                           ///< a plug replaced the module
    double maxLossPercent{};
    Figure maxLeftOutPercent{}; ///< no value: not judged
    Figure maxLatencyMs{};      ///< none: no limit
    Figure maxP99Ms{};          ///< none: no limit
};

struct Latencies
{
    Figure minimum{}, mean{}, p50{}, p90{}, p99{}, p999{}, maximum{}, standardDeviation{};
};

/** A count has no value where 0 may only mean that the driver does not count. */
struct LineErrors
{
    std::optional<qint64> framing{}, parity{}, overrun{}, breaks{}, bufferOverrun{};
};

/** Pings that came due and were never sent. */
struct LeftOut
{
    qint64 byComputer{}; ///< because the computer was busy
    qint64 byLine{};     ///< because the line was full
};

/** Numbers of bytes read in the run. */
struct ReadBytes
{
    qint64 inFrames{};
    qint64 skipped{}; ///< not part of a correct frame
    qint64 overrun{}; ///< lost because the receiver's buffer was full
};

struct ErrorReply
{
    std::optional<int> code; ///< no value: the reply had no code
    QString text;
    qint64 count{};
};

/**
 * The content of one report of a run. Texts come unchecked from the report, so escape them before
 * showing them.
 */
struct Run : TestPlace
{
    QString path;  ///< path of the report's file, as given
    QString label; ///< the run's name when shown; see arrangeRuns()
    QString version;
    RunSettings settings;
    bool exactTiming{}; ///< true: exact timing; false: the window's timing
    QDateTime start, end;
    double sendingSeconds{};
    Figure achievedPacketsPerSecond;
    qint64 sent{}, received{}, lost{}, sendFailures{};
    std::optional<LeftOut> leftOut; ///< no value: not counted
    std::optional<ReadBytes> bytes; ///< no value: not counted
    qint64 noEchoInTime{}, noEchoAtEnd{}, changedEcho{};
    qint64 lossBursts{}, longestLossBurst{}, outOfOrderEchoes{};
    qint64 lateEchoes{}, repeatedEchoes{}, unknownEchoes{}, shortEchoes{};
    qint64 moduleReports{}, otherPackets{};
    std::vector<ErrorReply> errorReplies;
    Latencies latencyUs;
    std::vector<LatencyBin> histogram; ///< shortest times first
    Figure sendLagP99Us, sendLagMaximumUs;
    std::vector<Interval> seconds;
    LineErrors lineErrors;
    Figure lineSharePercent; ///< share of the line to the module that is used
    RunVerdict verdict = RunVerdict::Failed;
    QStringList reasons;

    /** Loss in percent of the pings sent; no value without a ping. */
    Figure lossPercent() const
    {
        return sent > 0 ? Figure(100.0 * static_cast<double>(lost) / static_cast<double>(sent))
                        : std::nullopt;
    }
    /** Number of round trips in the histogram. */
    qint64 timed() const
    {
        qint64 sum = 0;
        for (const LatencyBin& bin : histogram)
            sum += bin.count;
        return sum;
    }
};
