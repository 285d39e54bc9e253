#pragma once

#include "simulator/LedgerEntry.h"

#include <QSaveFile>

/** A table of pings on the disk, complete or as it was before. One thread at a time. */
class LedgerFile
{
public:
    explicit LedgerFile(const QString& path) : file(path) {}

    /** Makes the file and writes its header. False with errorText(). */
    bool open();
    /** Adds a line; a failure shows in commit(). */
    void add(const LedgerEntry& ping);
    /** Puts the table in its place. False with errorText() when any of it could not be written. */
    bool commit();
    QString errorText() const;

private:
    QSaveFile file;
};
