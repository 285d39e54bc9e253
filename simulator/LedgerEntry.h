#pragma once

#include "simulator/line/ModuleCounts.h"

#include <QString>

/** A module's record of one ping. */
struct LedgerEntry
{
    quint64 arrival{}; ///< place among the pings that have arrived, from 0
    quint64 number{};  ///< its first 8 data bytes, lowest first; missing ones count as 0
    // Steady clock, in nanoseconds; negative: not happened.
    qint64 arrivedNs = -1;
    qint64 answeredNs = -1; ///< first copy of the echo or error reply written completely
    qint64 closedNs = -1;   ///< everything that the ping causes has happened
    ModuleCounts what;      ///< counts for this ping alone

    /**
     * Returns one word, or the words of several faults joined by plus signs; docs/simulator.md
     * lists them.
     */
    QString fate() const;
    /** Returns what was sent besides the answer, as words joined by plus signs; empty: nothing. */
    QString extras() const;
};
