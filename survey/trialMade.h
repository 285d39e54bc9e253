#pragma once

#include "measure/RunFigures.h"
#include "survey/search/Survey.h"

/**
 * Returns the result of the trial `next` from the figures of its run; `timeoutMs` as in TestConfig.
 * An echo that took longer counts as late, even if the engine accepted it. Pure.
 */
Trial trialMade(const Survey::Next& next, const RunFigures& figures, int timeoutMs, bool cutShort);

/**
 * Returns the shortest round trip in microseconds if all echoes came after the time-out; no value
 * if one came in time or none came.
 */
std::optional<double> lateOnlyUs(const RunFigures& figures, int timeoutMs);

/** Whether at least one echo came in time. */
bool cameInTime(const RunFigures& figures, int timeoutMs);
