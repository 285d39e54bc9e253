#pragma once

#include "runner/RunOutcome.h"

#include <QString>

/**
 * One line on a run under way, plain ASCII: time, counts, achieved rate, and the round trips as
 * minimum/average/maximum. `durationSec` as in TestConfig.
 */
QString statusText(const RunOutcome& sofar, int durationSec);
