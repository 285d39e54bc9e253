#pragma once

#include "measure/RunFormat.h"
#include "report/read/TestPlace.h"

#include <QDateTime>
#include <QStringList>

#include <vector>

/** Round trips that took from `lowerUs` to less than `upperUs`. */
struct LatencyBin
{
    double lowerUs{};
    double upperUs{};
    qint64 count{};
};

/** Some of the run's time; the seconds of a report are intervals too. */
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
    int durationSeconds{}; ///< 0: until a signal
    bool moduleScreen{};
    QString payload{QStringLiteral("random")}; ///< a word of the report's; older ones have none
    bool loopback{};                           ///< a plug took the module's place
    double maxLossPercent{};
    Figure maxLeftOutPercent{}; ///< none: not judged
    Figure maxLatencyMs{};      ///< none: no limit
    Figure maxP99Ms{};          ///< none: no limit
};

struct Latencies
{
    Figure minimum{}, mean{}, p50{}, p90{}, p99{}, p999{}, maximum{}, standardDeviation{};
};

/** Each none where 0 may only mean that the driver does not count. */
struct LineErrors
{
    std::optional<qint64> framing{}, parity{}, overrun{}, breaks{}, bufferOverrun{};
};

/** Pings that the schedule wanted and that never left. */
struct LeftOut
{
    qint64 byComputer{}; ///< it was busy
    qint64 byLine{};     ///< it was full
};

/** What became of the bytes that were read. */
struct ReadBytes
{
    qint64 inFrames{};
    qint64 skipped{}; ///< part of no correct frame
    qint64 overrun{}; ///< lost here, as the receiver's buffer was full
};

struct ErrorReply
{
    std::optional<int> code; ///< none: the reply carried none
    QString text;
    qint64 count{};
};

/** What one report says. Texts are as the report has them, so nothing about them is safe to show.
 */
struct Run : TestPlace
{
    QString path;  ///< of the report's file, as given
    QString label; ///< its name among the runs that are shown; see arrangeRuns()
    QString version;
    RunSettings settings;
    bool exactTiming{}; ///< measured at the line; else as the window measures
    QDateTime start, end;
    double sendingSeconds{};
    Figure achievedPacketsPerSecond;
    qint64 sent{}, received{}, lost{}, sendFailures{};
    std::optional<LeftOut> leftOut; ///< none: not counted
    std::optional<ReadBytes> bytes; ///< likewise
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
    Figure lineSharePercent; ///< of the direction to the module
    RunVerdict verdict = RunVerdict::Failed;
    QStringList reasons;

    /** Of 100 pings sent; none without a ping. */
    Figure lossPercent() const
    {
        return sent > 0 ? Figure(100.0 * static_cast<double>(lost) / static_cast<double>(sent))
                        : std::nullopt;
    }
    /** Round trips in the histogram. */
    qint64 timed() const
    {
        qint64 sum = 0;
        for (const LatencyBin& bin : histogram)
            sum += bin.count;
        return sum;
    }
};
