#pragma once

#include <QMetaType>
#include <QtGlobal>

/** Counters and latencies of one run. A default record is that of a run that has not begun. */
struct TestStats
{
    /** Value of `minLatencyMs` while no round trip has been timed. */
    static constexpr int noLatencyYet = 999999;

    quint64 packetsSent = 0;     ///< pings written completely to the line
    quint64 packetsReceived = 0; ///< unchanged echoes of pings that were still open
    /**
     * Pings without an unchanged echo: none within the time-out, none by the end of the run, or a
     * changed one.
     */
    quint64 packetsLost = 0;
    /** Received / sent in percent; may lag the counters by one sweep (100 ms) during a run. */
    double successRate = 0.0;
    int avgLatencyMs = 0;            ///< total / received, rounded down
    int minLatencyMs = noLatencyYet; ///< smallest round trip of the run
    int maxLatencyMs = 0;            ///< largest round trip of the run
    qint64 startTime = 0;            ///< start of the run, ms since the Unix epoch; 0: no run yet
    quint64 totalLatencyMs = 0;      ///< sum of all timed round trips
};
Q_DECLARE_METATYPE(TestStats)
