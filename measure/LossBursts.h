#pragma once

#include "measure/PingRecord.h"

#include <algorithm>

/** Rows of pings, by id, that were lost one after another; a single one is a row too. */
struct LossBursts
{
    quint64 count = 0;
    quint64 longest = 0; ///< pings
    quint64 current = 0; ///< pings of the row that the last ping belongs to; 0: it was not lost

    /** Pings come in the order of their ids. One that was not sent says nothing about the line. */
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
