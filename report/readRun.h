#pragma once

#include "report/Run.h"

#include <QByteArray>

/** A report that has been read, or in one line why not. */
struct ReadResult
{
    std::optional<Run> run; ///< none: `fault` says why
    QString fault;
};

/** Reads the report `json`; `path` is only taken down. Members that it does not know are passed
 * over, one that is missing or of another kind is a fault. */
ReadResult parseRun(const QByteArray& json, const QString& path);

/** The same from a file. */
ReadResult readRun(const QString& path);
