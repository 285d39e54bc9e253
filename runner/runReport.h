#pragma once

#include "runner/verdict.h"

#include <QJsonObject>

/** Returns the report of a finished run; docs/runner.md lists its fields and their units. Pure. */
QJsonObject runReport(const RunOptions& options, const RunOutcome& outcome, const Verdict& verdict);
