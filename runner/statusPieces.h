#pragma once

#include "engine/TestStats.h"
#include "measure/TimeSpans.h"

#include <QStringList>

/**
 * Returns the pieces of a status line during a run, in plain ASCII, for
 * TerminalOutput::showStatus(): time, counts, achieved rate and, if there were round trips in the
 * last second, their median and 99th percentile. `durationSec` as in TestConfig; `elapsedMs` since
 * the run's start.
 */
QStringList statusPieces(const TestStats& stats, qint64 elapsedMs, int durationSec,
                         const std::optional<TimeSpan>& lastSecond);
