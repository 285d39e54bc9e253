#pragma once

#include <QMetaType>
#include <QtGlobal>

/** Counters and latencies of one run; a default record is that of a run not yet begun. */
struct TestStats
{
    /** `minLatencyMs` while no round trip has been timed. */
    static constexpr int noLatencyYet = 999999;

    quint64 packetsSent = 0;     ///< pings that the line took whole
    quint64 packetsReceived = 0; ///< echoes that came back unchanged for a ping still waited for
    /** Pings given up: no echo in time, or none by the end of the run, or a changed one. */
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
