#pragma once

#include "command/RowFile.h"

class QDateTime;

/** The event file of one run. Call all functions on one thread. */
class EventWriter
{
public:
    /** Creates the file and writes its header; result and fault() as in RowFile::open(). */
    bool open(const QString& path);
    /** Appends one row to an open file; result and fault() as in RowFile::append(). */
    bool add(const QDateTime& time, const QString& type, const QString& message);
    /** See RowFile::close(). */
    bool close() { return file.close(); }

    /** One line: the first error; empty if none. */
    QString fault() const { return file.fault(); }

private:
    RowFile file{QStringLiteral("the event file")};
};
