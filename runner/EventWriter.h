#pragma once

#include "command/RowFile.h"

class QDateTime;

/** The event file of one run. Every function is for one thread. */
class EventWriter
{
public:
    /** Makes the file and writes its first line; result and fault() as of RowFile::open(). */
    bool open(const QString& path);
    /** Appends one row to an open file; result and fault() as of RowFile::append(). */
    bool add(const QDateTime& time, const QString& type, const QString& message);
    /** See RowFile::close(). */
    bool close() { return file.close(); }

    /** The first thing that went wrong, in one line; empty: nothing. */
    QString fault() const { return file.fault(); }

private:
    RowFile file{QStringLiteral("the event file")};
};
