#pragma once

#include "measure/LatencyHistogram.h"

#include <QtGlobal>

#include <optional>
#include <vector>

/** What happened in a span of a run. */
struct TimeSpan
{
    qint64 startSec;  ///< since the run's start
    double lengthSec; ///< 0 when the run ended with what happened at the span's very start
    quint64 sent;
    quint64 received;
    quint64 lost;
    // Of the round trips told of in the span; nothing when there were none.
    std::optional<double> p50Us;
    std::optional<double> p99Us;
    std::optional<double> maximumUs;
};

/**
 * Divides a run into spans of equal length: a second while these are at most 3620, then 2, 4, 8 and
 * so on, always as short as that number allows. Only the last span may be shorter.
 *
 * Moments are nanoseconds since the run's start. Time goes on with the latest moment told; what is
 * told later although it happened earlier goes to the span that is open by then, so that no event
 * is left out.
 *
 * Not locked: one thread at a time. Allocates once a second at most.
 */
class TimeSpans
{
public:
    /** Those of an hour, the final wait included. */
    static constexpr quint64 most = 3620;

    TimeSpans();

    void sent(qint64 atNs);
    void received(qint64 atNs, qint64 roundTripNs);
    void lost(qint64 atNs);
    /** It is at least this late; the run's end for example. */
    void advanceTo(qint64 atNs);

    /** From the run's start to the latest moment told, without a gap. */
    std::vector<TimeSpan> spans() const;
    /** The last whole second; nothing in the first one. */
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
        std::vector<TimeSpan> closed; ///< emptied when they became too many
    };

    void closeSecond();

    /** What a level closes is merged into the open span of the next. */
    std::vector<Level> levels;
    std::optional<TimeSpan> closedSecond;
    quint64 seconds = 0; ///< closed so far
    qint64 latestNs = 0;
};
