#pragma once

#include "report/read/Run.h"

/**
 * A point of the tail: 1 ping in `oneIn` took longer than `us`. At the last point, it took `us` or
 * longer.
 */
struct TailPoint
{
    double oneIn = 1;
    double us = 0;
};

/**
 * Returns the histogram with 16 bins per decade, without the empty ones. An old bin is added to the
 * new bin that contains its middle, so counts stay whole and their sum stays the same.
 */
std::vector<LatencyBin> coarseHistogram(const std::vector<LatencyBin>& histogram);

/** Returns how rare long round trips are, most frequent first; empty when none was timed. */
std::vector<TailPoint> latencyTail(const Run& run);

/**
 * Returns the time that `share` (0 to 1) of the round trips did not exceed; no value when none was
 * timed.
 */
Figure latencyAtShare(const Run& run, double share);
