#pragma once

#include "runner/verdict.h"

#include <QByteArray>

/**
 * Returns the verdict as JUnit XML for build servers, with one test case per check. A disturbed
 * check is an error, neither passed nor failed. Pure.
 */
QByteArray junitReport(const RunOptions& options, const RunOutcome& outcome,
                       const Verdict& verdict);
