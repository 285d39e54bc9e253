#pragma once

#include "report/read/LinkSurvey.h"
#include "report/read/Run.h"

#include <QByteArray>

/** A report that has been read, one of the two kinds, or in one line why not. */
struct ReadResult
{
    std::optional<Run> run{};
    std::optional<LinkSurvey> survey{};
    QString fault{}; ///< not empty: neither is there
};

/** Reads the report `json`; `path` is only taken down. Members that it does not know are passed
 * over, one that is missing or of another kind is a fault. */
ReadResult parseReport(const QByteArray& json, const QString& path);

/** The same from a file. */
ReadResult readReport(const QString& path);
