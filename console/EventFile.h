#pragma once

#include <QFile>
#include <QString>
#include <QTextStream>

class QDateTime;

/** Writes event files, one after the other: each run gets a new file in the working directory. */
class EventFile
{
public:
    /**
     * Creates PacketTest_<date>_<time>.csv, named after `time`, and writes its header. If that name
     * exists, it adds a number. False when no file could be created. Do not call it while a file is
     * open.
     */
    bool open(const QDateTime& time);
    /**
     * Appends a row at once; does nothing while no file is open. `type` as in
     * BraskTestWorker::logMessage.
     */
    void append(const QDateTime& time, const QString& type, const QString& message);
    /** Completes the file; does nothing while no file is open. */
    void close();

    /** Name of the last file, relative to the working directory. */
    QString name() const { return csvFile.fileName(); }

private:
    QFile csvFile;
    QTextStream csvStream; ///< has a device only while csvFile is open
};
