#pragma once

#include "command/OutputFile.h"
#include "simulator/LedgerEntry.h"

/** A table of pings. One thread at a time. */
class LedgerFile
{
public:
    explicit LedgerFile(const QString& path) : file(QStringLiteral("the ledger"), path) {}

    /** Begins the file with its header; result and fault() as of OutputFile::open(). */
    bool open();
    /** Adds a line; a failure shows in commit(). */
    void add(const LedgerEntry& ping);
    /** Completes the file; result and fault() as of OutputFile::commit(). */
    bool commit() { return file.commit(); }
    QString fault() const { return file.fault(); }

private:
    OutputFile file;
};
