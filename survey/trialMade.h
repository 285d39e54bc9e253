#pragma once

#include "measure/RunFigures.h"
#include "survey/search/Survey.h"

/**
 * What became of the trial `next`, by the figures of its run; `timeoutMs` as in TestConfig. An echo
 * that took longer than that is late even where the engine still took it. Pure.
 */
Trial trialMade(const Survey::Next& next, const RunFigures& figures, int timeoutMs, bool cutShort);

/** The shortest round trip in microseconds if echoes came after the time-out only; else nothing. */
std::optional<double> lateOnlyUs(const RunFigures& figures, int timeoutMs);

/** Whether an echo came in time. */
bool cameInTime(const RunFigures& figures, int timeoutMs);
