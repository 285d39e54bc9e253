#pragma once

#include "command/RowFile.h"
#include "measure/PingRecord.h"

#include <QByteArray>

#include <mutex>

/**
 * The ping file: a row for every ping of a run, in the order of their numbers.
 *
 * Rows are taken on the engine's thread, which no disk may hold up, and written by flush(). All but
 * pingEnded() is for the thread that made the object.
 */
class PingLog : public PingSink
{
public:
    /** Makes the file and writes its first line; result and fault() as of RowFile::open(). */
    bool open(const QString& path);
    /** Writes what has been taken; result and fault() as of RowFile::append(). */
    bool flush();
    /** Writes the rest and closes the file; result and fault() as of RowFile::close(). */
    bool close();
    QString fault() const { return file.fault(); }

    void pingEnded(const PingRecord& ping) override;

private:
    RowFile file{QStringLiteral("the ping file")};
    std::mutex mutex;
    QByteArray waiting; ///< guarded by mutex
};
