#pragma once

#include "command/Program.h"
#include "measure/RunFormat.h"
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
        Disturbed, ///< this computer spoiled the run
        Skipped,   ///< another one that broke left nothing to judge
    };

    QString name;
    Result result = Result::Kept;
    QString reason{}; ///< of Broken and Disturbed, in one line; else empty
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
 * OutputFailed, LineLost, Failed and Disturbed; the reasons tell them all.
 */
Verdict judge(const RunOptions& options, const RunOutcome& outcome);

/** What the report calls a run that ends so. */
RunVerdict reportedVerdict(ExitStatus status);
