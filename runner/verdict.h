#pragma once

#include "runner/ExitStatus.h"
#include "runner/RunOutcome.h"
#include "runner/runOptions.h"

#include <QString>
#include <QStringList>

/** How a run is judged. */
struct Verdict
{
    ExitStatus status = ExitStatus::Passed;
    QStringList reasons; ///< everything that keeps the run from passing, one line each
};

/**
 * Judges a finished run by the limits of `options`. Of several causes the status tells the first of
 * OutputFailed, LineLost and LimitExceeded; the reasons tell them all.
 */
Verdict judge(const RunOptions& options, const RunOutcome& outcome);

/** The word for it in the report: "passed", "failed", "lineLost" or "outputFailed". */
QString verdictWord(ExitStatus status);

/** True once a round trip has been timed, so that the latencies mean something. */
bool hasLatencies(const TestStats& stats);
