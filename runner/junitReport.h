#pragma once

#include "runner/verdict.h"

#include <QByteArray>

/** The verdict as JUnit XML, as build servers show it: a test case for each thing judged. Pure. */
QByteArray junitReport(const RunOptions& options, const RunOutcome& outcome,
                       const Verdict& verdict);
