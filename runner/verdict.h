#pragma once

#include "command/Program.h"
#include "measure/RunFormat.h"
#include "runner/RunOutcome.h"
#include "runner/runOptions.h"

#include <QList>
#include <QString>
#include <QStringList>

/** One criterion by which a run is judged. */
struct Check
{
    enum class Result {
        Kept,
        Broken,
        Disturbed, ///< this computer disturbed the run
        Skipped,   ///< a broken check left nothing to judge
    };

    QString name;
    Result result = Result::Kept;
    QString reason{}; ///< one line for Broken and Disturbed; else empty
};

/** The verdict on a run. */
struct Verdict
{
    ExitStatus status = ExitStatus::Passed;
    QList<Check> checks; ///< the checks made, most important first

    /** Returns all reasons why the run did not pass, one line each. */
    QStringList reasons() const;
};

/**
 * Judges a finished run by the limits of `options`. If there are several causes, the status is the
 * first of OutputFailed, LineLost, Failed and Disturbed that applies; the reasons contain all of
 * them.
 */
Verdict judge(const RunOptions& options, const RunOutcome& outcome);

/** Returns the report's verdict for a run that ends with `status`. */
RunVerdict reportedVerdict(ExitStatus status);
