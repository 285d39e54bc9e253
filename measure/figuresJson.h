#pragma once

#include "measure/RunFigures.h"

#include <QJsonObject>

/**
 * Returns the figures of a run as members for its report; docs/runner.md lists their names and
 * units. Microseconds are rounded to a tenth, seconds and bin limits to a thousandth. A figure
 * without a measurement is null. `sent`, `received` and `sendingNs` are not included.
 */
QJsonObject figuresJson(const RunFigures& figures);
