#pragma once

#include "report/read/Run.h"

/** A point of the tail: 1 ping in `oneIn` took longer than `us`; the last one, that or longer. */
struct TailPoint
{
    double oneIn = 1;
    double us = 0;
};

/**
 * The histogram in bins of which ten and six make a decade, those without a count left out. A bin
 * goes where its middle lies, so counts stay whole and add up to the same.
 */
std::vector<LatencyBin> coarseHistogram(const std::vector<LatencyBin>& histogram);

/** How rare the long round trips are, the most usual first; empty when none was timed. */
std::vector<TailPoint> latencyTail(const Run& run);

/** The time that `share` (0 to 1) of the round trips did not exceed; none when none was timed. */
Figure latencyAtShare(const Run& run, double share);
