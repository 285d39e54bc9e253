#pragma once

#include "engine/TestStats.h"
#include "measure/TimeSpans.h"

#include <QString>

/**
 * One line on a run under way, plain ASCII: time, counts, achieved rate, and of the round trips of
 * the last second, if there were any, the median and the 99th percentile. `durationSec` as in
 * TestConfig, `elapsedMs` since the run's start.
 */
QString statusText(const TestStats& stats, qint64 elapsedMs, int durationSec,
                   const std::optional<TimeSpan>& lastSecond);
