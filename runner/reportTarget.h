#pragma once

#include <QByteArray>
#include <QString>

/**
 * Why no report could be written to `path` at this moment, in one line; empty when nothing speaks
 * against it. Leaves what is there as it is. "-" is standard output, an empty path no report.
 */
QString reportTargetFault(const QString& path);

/**
 * Writes `text` to `path`, read like above: a file in one step, replacing an existing one. Why it
 * could not, in one line; empty after success.
 */
QString writeReport(const QString& path, const QByteArray& text);
