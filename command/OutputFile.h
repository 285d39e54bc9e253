#pragma once

#include <QByteArray>
#include <QSaveFile>
#include <QString>

/**
 * A report or a table that a program leaves behind. A regular file is replaced in one step, by what
 * has reached the disk whole; until then, and after any fault, what was there stays as it is. A
 * pipe, a character device, and the file behind standard output or standard error cannot be
 * replaced and are written as they are. One thread at a time.
 */
class OutputFile
{
public:
    /** `kind` names it in faults: "the report". The path "-" is standard output. */
    OutputFile(const QString& kind, const QString& path);
    /** Without commit() a regular file stays as it was. */
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /**
     * Begins, once in the object's life. False with fault(): also where something else than a
     * regular file, a pipe or a character device is, and for a pipe that nobody reads.
     */
    bool open();
    /** Adds `bytes` after open(). False with fault(), also after an earlier fault. */
    bool append(const QByteArray& bytes);
    /** Completes the file; the last call. False with fault() when any of it was not written. */
    bool commit();

    /** The first thing that went wrong, in one line with the system's reason; empty: nothing. */
    QString fault() const { return faultText; }

private:
    bool openDirectly(const QByteArray& name);
    int descriptor() const { return direct >= 0 ? direct : replacement.handle(); }
    bool flush();
    bool fail(const QString& reason);

    QString whatText; ///< "the report to FILE"
    QString filePath;
    QSaveFile replacement;
    int direct = -1; ///< owned; negative: the file is replaced
    QByteArray waiting;
    QString faultText;
};

/**
 * Writes `bytes` as the whole of an OutputFile. An empty path: nothing. Returns the fault, in one
 * line; empty after success.
 */
QString writeOutput(const QString& kind, const QString& path, const QByteArray& bytes);

/**
 * Why writeOutput() would fail at this moment, as far as that shows without writing; empty: nothing
 * speaks against it. Leaves what is there as it is.
 */
QString outputFault(const QString& kind, const QString& path);
