#pragma once

#include <QFile>
#include <QString>

class QDateTime;

/** The event file of one run. Every function is for one thread. */
class EventWriter
{
public:
    /**
     * Makes the file and writes its first line. False with fault() when it cannot; whatever is at
     * `path` already, a link included, is such a case and stays as it is. Not for an open file.
     */
    bool open(const QString& path);

    /**
     * Appends one row, which has reached the system when this returns. False with fault() when the
     * row could not be written whole: it is then cut off again, and the file is closed. True, and
     * nothing done, on a file that is not open.
     */
    bool add(const QDateTime& time, const QString& type, const QString& message);

    /** Closes the file. False with fault() when the system reports a late write error. */
    bool close();

    /** The first thing that went wrong, in one line; empty: nothing. */
    QString fault() const { return faultText; }

private:
    bool write(const QString& text);
    bool fail(const QString& reason);

    QFile file;
    QString faultText;
};
