#pragma once

#include <QByteArray>
#include <QString>

/**
 * Writes to standard error without ever blocking the program. A line that cannot be written at once
 * is left out; the next line that can be written is preceded by a line with the number left out.
 * Create only one object at a time per program. Call all functions on one thread.
 *
 * If standard error is a pipe or a terminal of another user, it cannot be opened again for
 * non-blocking writes. A write may then block when other programs fill it at the same moment. On
 * such a terminal, a line that fits only in part may block too.
 */
class StandardError
{
public:
    /** `program` is put in front of each of the program's own lines. */
    explicit StandardError(const QString& program);
    /** Writes the number of lines left out, if there is room for it now. */
    ~StandardError();
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

    /**
     * Prints `line` between `before` and `after` in one piece, so that no other program's line
     * comes between them. `before` and `after` do not count as lines.
     */
    void print(const QString& line, const QString& before = {}, const QString& after = {});
    /** Prints `message` as one of the program's own lines; see ownLine(). */
    void complain(const QString& message) { print(ownLine(message)); }
    /** Returns `message` as complain() prints it: after the program's name and ": ". */
    QString ownLine(const QString& message) const;
    /** Writes `text`; it does not count as a line. */
    void draw(const QString& text);

private:
    QString leftOutText() const;
    bool begin(const QByteArray& bytes);
    qsizetype write(const QByteArray& bytes) const;

    QString name;
    int own; ///< standard error opened again, non-blocking; negative: not opened again
    bool isSocket;
    QByteArray rest; ///< not yet written part of the last text begun
    int leftOut = 0; ///< lines left out since the last one written
};
