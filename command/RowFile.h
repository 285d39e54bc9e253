#pragma once

#include <QFile>
#include <QString>

/**
 * A new file that grows by whole rows, and tells when it cannot. Every function is for one thread.
 */
class RowFile
{
public:
    /** `kind` names the file in complaints: "the event file". */
    explicit RowFile(const QString& kind) : kindText(kind) {}

    /**
     * Makes the file and writes `header`. False with fault() when it cannot; whatever is at `path`
     * already, a link included, is such a case and stays as it is. Not for an open file.
     */
    bool open(const QString& path, const QString& header);

    /**
     * Appends `rows`, which have reached the system when this returns. False with fault() when they
     * could not be written whole: they are then cut off again, and the file is closed. True, and
     * nothing done, on a file that is not open.
     */
    bool append(const QByteArray& rows);

    bool isOpen() const { return file.isOpen(); }

    /** Closes the file when it is on the disk. False with fault(), of now or of before. */
    bool close();

    /** The first thing that went wrong, in one line; empty: nothing. */
    QString fault() const { return faultText; }

private:
    bool fail(const QString& reason);

    QString kindText;
    QFile file;
    qint64 wholeBytes = 0; ///< rows and header, as far as they were written
    QString faultText;
};
