#pragma once

#include "engine/TestStats.h"
#include "measure/TimeSpans.h"

#include <QStringList>

/**
 * The pieces of one line on a run under way, see TerminalOutput::showStatus(), plain ASCII: time,
 * counts, achieved rate, and of the round trips of the last second, if there were any, the median
 * and the 99th percentile. `durationSec` as in TestConfig, `elapsedMs` since the run's start.
 */
QStringList statusPieces(const TestStats& stats, qint64 elapsedMs, int durationSec,
                         const std::optional<TimeSpan>& lastSecond);
