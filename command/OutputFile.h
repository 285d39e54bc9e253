#pragma once

#include <QByteArray>
#include <QSaveFile>
#include <QString>

/**
 * An output file of a program, such as a report or a table. A regular file is replaced in one step,
 * once all of the new content is on the disk; before that, and after any error, the old file stays
 * unchanged. A pipe, a character device and the file behind standard output or standard error
 * cannot be replaced; they are written directly. One thread at a time.
 */
class OutputFile
{
public:
    /**
     * `kind` names the file in error texts, for example "the report". The path "-" is standard
     * output.
     */
    OutputFile(const QString& kind, const QString& path);
    /** Without commit(), a regular file stays as it was. */
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /**
     * Opens the file; call it once per object. False with fault() set on any error. It is an error
     * when the path is not a regular file, a pipe or a character device, and when no program reads
     * the pipe.
     */
    bool open();
    /** Adds `bytes`; call it after open(). False with fault() set, also after an earlier error. */
    bool append(const QByteArray& bytes);
    /**
     * Completes the file; it must be the last call. False with fault() set when any byte was not
     * written.
     */
    bool commit();

    /** One line: the first error with the system's reason; empty if none. */
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
 * Writes an OutputFile that contains exactly `bytes`. Does nothing for an empty path. Returns the
 * error in one line; empty after success.
 */
QString writeOutput(const QString& kind, const QString& path, const QByteArray& bytes);

/**
 * Returns why writeOutput() would fail now, as far as that can be checked without writing; empty if
 * no reason is found. Leaves an existing file unchanged.
 */
QString outputFault(const QString& kind, const QString& path);
