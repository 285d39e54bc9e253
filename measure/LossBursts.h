#pragma once

#include "measure/PingRecord.h"

#include <algorithm>

/**
 * Counts bursts of lost pings: pings with consecutive ids that were all lost. A single lost ping is
 * a burst too.
 */
struct LossBursts
{
    quint64 count = 0;
    quint64 longest = 0; ///< pings
    quint64 current = 0; ///< length of the burst that the last ping belongs to; 0: it was not lost

    /** Call it in the order of the ids. A ping that was not sent is ignored. */
    void add(PingFate fate)
    {
        if (fate == PingFate::NotSent)
            return;
        if (fate == PingFate::Received || fate == PingFate::ReceivedAfterEnd) {
            current = 0;
            return;
        }
        if (++current == 1)
            ++count;
        longest = std::max(longest, current);
    }
};
