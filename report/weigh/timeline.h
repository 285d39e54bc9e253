#pragma once

#include "report/read/Run.h"

/**
 * The seconds put together by as few as leave at most `most` intervals: counts are added, the
 * maximum is the largest, and p50 is the middle one of the seconds' p50.
 */
std::vector<Interval> timeline(const std::vector<Interval>& seconds, std::size_t most);
