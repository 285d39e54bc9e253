#pragma once

#include "simulator/line/ModuleCounts.h"

#include <QString>

/** What a module says of one ping. */
struct LedgerEntry
{
    quint64 arrival{}; ///< its place among the pings that have arrived, from 0
    quint64 number{};  ///< its first 8 data bytes, lowest first; those it lacks count as 0
    // Steady clock, in nanoseconds; negative: it has not happened.
    qint64 arrivedNs = -1;
    qint64 answeredNs = -1; ///< echo or error reply whole with the line, a second copy left aside
    qint64 closedNs = -1;   ///< everything that the ping was to cause has happened
    ModuleCounts what;      ///< what has happened, to this ping alone

    /** One word, or those of several faults joined by plus signs; docs/simulator.md has them. */
    QString fate() const;
    /** What came beside the answer, likewise; empty: nothing. */
    QString extras() const;
};
