#pragma once

#include "runner/ExitStatus.h"
#include "runner/RunOutcome.h"
#include "runner/runOptions.h"

#include <QList>
#include <QString>
#include <QStringList>

/** One thing that a run is judged by. */
struct Check
{
    enum class Result {
        Kept,
        Broken,
        Skipped, ///< another one that broke left nothing to judge
    };

    QString name;
    Result result = Result::Kept;
    QString reason{}; ///< why it broke, in one line; else empty
};

/** How a run is judged. */
struct Verdict
{
    ExitStatus status = ExitStatus::Passed;
    QList<Check> checks; ///< what was judged, most important first

    /** Everything that keeps the run from passing, one line each. */
    QStringList reasons() const;
};

/**
 * Judges a finished run by the limits of `options`. Of several causes the status tells the first of
 * OutputFailed, LineLost and LimitExceeded; the reasons tell them all.
 */
Verdict judge(const RunOptions& options, const RunOutcome& outcome);

/** The word for it in the report: "passed", "failed", "lineLost" or "outputFailed". */
QString verdictWord(ExitStatus status);
