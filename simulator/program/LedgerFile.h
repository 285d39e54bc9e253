#pragma once

#include "command/OutputFile.h"
#include "simulator/LedgerEntry.h"

/** A file with a table of pings. One thread at a time. */
class LedgerFile
{
public:
    explicit LedgerFile(const QString& path) : file(QStringLiteral("the ledger"), path) {}

    /** Opens the file and writes its header; result and fault() as in OutputFile::open(). */
    bool open();
    /** Adds a line; an error is reported by commit(). */
    void add(const LedgerEntry& ping);
    /** Completes the file; result and fault() as in OutputFile::commit(). */
    bool commit() { return file.commit(); }
    QString fault() const { return file.fault(); }

private:
    OutputFile file;
};
