#pragma once

#include "command/StandardError.h"

#include <QString>
#include <QStringList>

class QDateTime;

/**
 * Messages for the user on standard error: log lines, complaints and, on a terminal that
 * understands escape sequences, one status line below them. Colours are used only on such a
 * terminal, and not when NO_COLOR is set.
 */
class TerminalOutput
{
public:
    /**
     * Writes to `standardError`, which is not owned and must outlive this object. Nothing else may
     * write to it meanwhile. `beQuiet` suppresses log lines and the status line.
     */
    TerminalOutput(StandardError& standardError, bool beQuiet);
    /** Removes the status line. */
    ~TerminalOutput();
    TerminalOutput(const TerminalOutput&) = delete;
    TerminalOutput& operator=(const TerminalOutput&) = delete;

    /** Prints a log line about the run; `type` as in BraskTestWorker::logMessage. */
    void log(const QDateTime& time, const QString& type, const QString& message);
    /** Prints a message of the program itself, even when quiet. */
    void complain(const QString& message);
    /**
     * Replaces the status line with `pieces`, joined without separators: each piece contains its
     * own. An empty list removes the status line. From the first piece that does not fit the
     * terminal's width on, all are left out.
     */
    void showStatus(const QStringList& pieces);

private:
    void print(const QString& line);
    QString drawnStatus() const;

    StandardError& errors;
    bool quiet;
    bool drawing; ///< the terminal takes escapes
    bool coloured;
    QStringList status; ///< its pieces
};
