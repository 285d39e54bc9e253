#pragma once

#include "survey/search/Survey.h"

/** Describes the last trial of `size` for the log. Pure. */
QString trialText(const SizeResult& size);

/** Describes the results for `size`, which must be complete, for the log. Pure. */
QString foundText(const SizeResult& size);

/**
 * Returns the pieces of the status line during the trial `next`; see TerminalOutput::showStatus().
 * `sizes` is the number of sizes and `secondsLeft` the estimated rest of the survey. Pure.
 */
QStringList nextPieces(const Survey::Next& next, qsizetype sizes, double secondsLeft);
