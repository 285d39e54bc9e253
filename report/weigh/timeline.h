#pragma once

#include "report/read/Run.h"

/**
 * Joins consecutive seconds into at most `most` intervals of equal length, except for the last. The
 * length is the shortest of 1, 2, 5, 10, 20, 30 and 60 seconds that suffices, or a longer one if
 * needed. Counts are added, the maximum is the largest, and p50 is the median of the seconds' p50.
 */
std::vector<Interval> timeline(const std::vector<Interval>& seconds, std::size_t most);
