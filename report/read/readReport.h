#pragma once

#include "report/read/LinkSurvey.h"
#include "report/read/Run.h"

#include <QByteArray>

/** The result of reading a report: a report of one of the two kinds, or an error. */
struct ReadResult
{
    std::optional<Run> run{};
    std::optional<LinkSurvey> survey{};
    QString fault{}; ///< one line: the error; if not empty, there is no report
};

/**
 * Reads the report `json`; `path` is only stored in the result. Unknown members are ignored. A
 * missing member or one of another type is an error.
 */
ReadResult parseReport(const QByteArray& json, const QString& path);

/** Like parseReport(), but reads the file `path`. */
ReadResult readReport(const QString& path);
