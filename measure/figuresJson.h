#pragma once

#include "measure/RunFigures.h"

#include <QJsonObject>

/**
 * The figures of a run as members for its report; docs/runner.md tells their names and units.
 * Microseconds are rounded to a tenth, seconds and the ends of bins to a thousandth. A figure for
 * which there is no measurement is null. `sent`, `received` and `sendingNs` are not among them.
 */
QJsonObject figuresJson(const RunFigures& figures);
