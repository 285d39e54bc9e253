#pragma once

#include "measure/LatencyHistogram.h"

#include <QtGlobal>

#include <optional>
#include <vector>

/** Counts and round trips of one time span of a run. */
struct TimeSpan
{
    qint64 startSec;  ///< since the run's start
    double lengthSec; ///< 0 when the run ended exactly at the start of the span, but the span has
                      ///< events
    quint64 sent;
    quint64 received;
    quint64 lost;
    // Of the round trips reported in the span; no value if there were none.
    std::optional<double> p50Us;
    std::optional<double> p99Us;
    std::optional<double> maximumUs;
};

/**
 * Divides a run into spans of equal length: 1 second if that gives at most 3620 spans, else 2, 4, 8
 * and so on, whichever is the shortest that gives at most 3620. Only the last span may be shorter.
 *
 * Times are nanoseconds since the run's start. Time advances with the latest time reported. An
 * event reported with an earlier time is counted in the span that is open then, so that no event is
 * lost.
 *
 * Not locked: one thread at a time. Allocates memory at most once a second.
 */
class TimeSpans
{
public:
    /** Largest number of spans: enough seconds for a run of one hour with its final wait. */
    static constexpr quint64 most = 3620;

    TimeSpans();

    void sent(qint64 atNs);
    void received(qint64 atNs, qint64 roundTripNs);
    void lost(qint64 atNs);
    /** Advances the time to `atNs`, for example to the run's end. */
    void advanceTo(qint64 atNs);

    /** Returns all spans from the run's start to the latest time reported, without gaps. */
    std::vector<TimeSpan> spans() const;
    /** The last complete second; no value during the first second. */
    const std::optional<TimeSpan>& lastSecond() const { return closedSecond; }

private:
    struct Open
    {
        LatencyHistogram roundTrips;
        quint64 sent = 0;
        quint64 received = 0;
        quint64 lost = 0;

        void merge(const Open& other);
        void clear();
        TimeSpan closed(quint64 startSec, double lengthSec) const;
    };
    /** The spans of one length: 2^n seconds on level n. */
    struct Level
    {
        Open open;
        std::vector<TimeSpan> closed; ///< cleared once there are more than `most`
    };

    void closeSecond();

    /** A closed span of one level is merged into the open span of the next level. */
    std::vector<Level> levels;
    std::optional<TimeSpan> closedSecond;
    quint64 seconds = 0; ///< number of closed seconds
    qint64 latestNs = 0;
};
