#pragma once

#include "report/TestPlace.h"

#include <QDateTime>
#include <QStringList>

#include <vector>

enum class RunVerdict { Passed, Failed, LineLost, OutputFailed };

/** Round trips that took from `lowerUs` to less than `upperUs`. */
struct LatencyBin
{
    double lowerUs = 0;
    double upperUs = 0;
    qint64 count = 0;
};

/** Some of the run's time; the seconds of a report are intervals too. */
struct Interval
{
    double start = 0;  ///< seconds since the run's start
    double length = 0; ///< seconds
    qint64 sent = 0;
    qint64 received = 0;
    qint64 lost = 0;
    Figure p50Us{};
    Figure maximumUs{};
};

struct RunSettings
{
    QString port;
    int baudRate = 0;
    int packetsPerSecond = 0;
    int minDataSizeBytes = 0;
    int maxDataSizeBytes = 0;
    int timeoutMs = 0;
    int durationSeconds = 0; ///< 0: until a signal
    bool moduleScreen = false;
    double maxLossPercent = 0;
    Figure maxLatencyMs{}; ///< none: no limit
    Figure maxP99Ms{};     ///< none: no limit
};

struct Latencies
{
    Figure minimum{}, mean{}, p50{}, p90{}, p99{}, p999{}, maximum{}, standardDeviation{};
};

struct LineErrors
{
    qint64 framing = 0, parity = 0, overrun = 0, breaks = 0, bufferOverrun = 0;
};

struct ErrorReply
{
    int code = 0;
    QString text;
    qint64 count = 0;
};

/** What one report says. Texts are as the report has them, so nothing about them is safe to show.
 */
struct Run : TestPlace
{
    QString path; ///< of the report's file, as given
    QString version;
    RunSettings settings;
    bool exactTiming = false; ///< measured at the line; else as the window measures
    QDateTime start, end;
    double sendingSeconds = 0;
    Figure achievedPacketsPerSecond;
    qint64 sent = 0, received = 0, lost = 0, sendFailures = 0;
    qint64 noEchoInTime = 0, noEchoAtEnd = 0, changedEcho = 0;
    qint64 lossBursts = 0, longestLossBurst = 0, outOfOrderEchoes = 0;
    qint64 lateEchoes = 0, repeatedEchoes = 0, unknownEchoes = 0, shortEchoes = 0;
    qint64 moduleReports = 0, otherPackets = 0;
    std::vector<ErrorReply> errorReplies;
    Latencies latencyUs;
    std::vector<LatencyBin> histogram; ///< shortest times first
    Figure sendLagP99Us, sendLagMaximumUs;
    std::vector<Interval> seconds;
    std::optional<LineErrors> lineErrors; ///< none: the port does not count them
    Figure lineSharePercent;              ///< of the direction to the module
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
