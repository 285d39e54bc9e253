#pragma once

#include <QFile>
#include <QString>
#include <QTextStream>

class QDateTime;

/** The event file of one run after the other, each a new file in the working directory. */
class EventFile
{
public:
    /**
     * Makes PacketTest_<date>_<time>.csv, named by `time`, and writes its header. Another name is
     * found where that one is taken. False when no file could be made. Not while one is open.
     */
    bool open(const QDateTime& time);
    /** Appends a row at once; nothing while no file is open. `type` as in logMessage(). */
    void append(const QDateTime& time, const QString& type, const QString& message);
    /** Completes the file; nothing while none is open. */
    void close();

    /** Of the last file, relative to the working directory. */
    QString name() const { return file.fileName(); }

private:
    QFile file;
    QTextStream stream;
};
