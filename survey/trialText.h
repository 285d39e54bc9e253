#pragma once

#include "survey/search/Survey.h"

/** The last trial of `size`, for the log. Pure. */
QString trialText(const SizeResult& size);

/** What was found for `size`, which is complete, for the log. Pure. */
QString foundText(const SizeResult& size);

/**
 * The pieces of the status line while `next` is made, the place of its size being one of `sizes`;
 * see TerminalOutput::showStatus(). Pure.
 */
QStringList nextPieces(const Survey::Next& next, qsizetype sizes, double secondsLeft);
