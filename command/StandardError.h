#pragma once

#include <QByteArray>
#include <QString>

/**
 * Standard error, which never holds the program up: what it does not take at once is left out, and
 * a line in front of the next one that fits tells how many lines were. One object at a time in a
 * program; every function is for one thread.
 *
 * A pipe or a terminal that belongs to another user cannot be opened once more. It may still block
 * when other programs fill it at the same moment, the terminal also by a line for a part of which
 * there is room.
 */
class StandardError
{
public:
    /** `program` begins the lines of the program itself. */
    explicit StandardError(const QString& program);
    /** Tells what was left out, if there is room for that by now. */
    ~StandardError();
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

    /**
     * Prints `line` between `before` and `after`, which count as no lines: in one piece, so that
     * another program's line does not come between them.
     */
    void print(const QString& line, const QString& before = {}, const QString& after = {});
    /** Prints a line of the program itself. */
    void complain(const QString& message) { print(ownLine(message)); }
    /** `message` as complain() prints it. */
    QString ownLine(const QString& message) const;
    /** Writes `text`, which counts as no line. */
    void draw(const QString& text);

private:
    QString leftOutText() const;
    bool begin(const QByteArray& bytes);
    qsizetype write(const QByteArray& bytes) const;

    QString name;
    int own; ///< where standard error leads to, opened once more; negative: it is not
    bool isSocket;
    QByteArray rest; ///< of what has been begun
    int leftOut = 0; ///< lines since the last one that fitted
};
