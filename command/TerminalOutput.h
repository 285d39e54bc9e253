#pragma once

#include "command/StandardError.h"

#include <QString>
#include <QStringList>

class QDateTime;

/**
 * Standard error, for the people who watch: log lines, complaints, and on a terminal that takes
 * escapes one status line that stays below them. Colours only there, and not when NO_COLOR is set.
 */
class TerminalOutput
{
public:
    /**
     * Writes to `standardError`, which is not owned and outlives this object. Nothing else writes
     * to it meanwhile. `beQuiet` leaves out log lines and the status line.
     */
    TerminalOutput(StandardError& standardError, bool beQuiet);
    /** Takes the status line away. */
    ~TerminalOutput();
    TerminalOutput(const TerminalOutput&) = delete;
    TerminalOutput& operator=(const TerminalOutput&) = delete;

    /** A line on the course of the run; `type` as in BraskTestWorker::logMessage. */
    void log(const QDateTime& time, const QString& type, const QString& message);
    /** A line of the program itself, printed even when quiet. */
    void complain(const QString& message);
    /**
     * Puts the pieces, each with what separates it from the one before, in place of the status
     * line; empty: none. From the first that the terminal has no room for on they are left out.
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
