#pragma once

#include "runner/verdict.h"

#include <QByteArray>

/**
 * The verdict as JUnit XML, as build servers show it: a test case for each thing judged. What was
 * disturbed is an error, neither passed nor a failure. Pure.
 */
QByteArray junitReport(const RunOptions& options, const RunOutcome& outcome,
                       const Verdict& verdict);
