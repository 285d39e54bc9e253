#pragma once

#include "command/RowFile.h"
#include "measure/PingRecord.h"

#include <QByteArray>

#include <mutex>

/**
 * The ping file: one row for every ping of a run, in the order of their ids.
 *
 * pingEnded() is called on the engine's thread and only stores the row, because disk access must
 * not delay that thread; flush() writes the rows. Call all other functions on the thread that
 * created the object.
 */
class PingLog : public PingSink
{
public:
    /** Creates the file and writes its header; result and fault() as in RowFile::open(). */
    bool open(const QString& path);
    /** Writes the rows stored so far; result and fault() as in RowFile::append(). */
    bool flush();
    /** Writes the remaining rows and closes the file; result and fault() as in RowFile::close(). */
    bool close();
    QString fault() const { return file.fault(); }

    void pingEnded(const PingRecord& ping) override;

private:
    RowFile file{QStringLiteral("the ping file")};
    std::mutex mutex;
    QByteArray waiting; ///< guarded by mutex
};
