#pragma once

#include <QFile>
#include <QString>

/**
 * A new file that is written in whole rows and reports write errors. Call all functions on one
 * thread.
 */
class RowFile
{
public:
    /** `kind` names the file in complaints: "the event file". */
    explicit RowFile(const QString& kind) : kindText(kind) {}

    /**
     * Creates the file and writes `header`. False with fault() set when it cannot. Anything that
     * exists at `path`, even a link, is an error and stays unchanged. Do not call it while a file
     * is open.
     */
    bool open(const QString& path, const QString& header);

    /**
     * Appends `rows` and hands them to the system before it returns. If they cannot be written
     * completely, it removes the written part again, closes the file and returns false with fault()
     * set. If no file is open, it does nothing and returns true.
     */
    bool append(const QByteArray& rows);

    bool isOpen() const { return file.isOpen(); }

    /**
     * Waits until the file is on the disk and closes it. False with fault() set after an error now
     * or earlier.
     */
    bool close();

    /** One line: the first error; empty if none. */
    QString fault() const { return faultText; }

private:
    bool fail(const QString& reason);

    QString kindText;
    QFile file;
    qint64 wholeBytes = 0; ///< bytes of the header and the rows written completely
    QString faultText;
};
