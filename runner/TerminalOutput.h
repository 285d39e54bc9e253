#pragma once

#include <QString>

class QDateTime;

/**
 * Standard error, for the people who watch: log lines, complaints, and on a terminal one status
 * line that stays below them. Colours only on a terminal, and not when NO_COLOR is set.
 */
class TerminalOutput
{
public:
    /** `program` begins every complaint; `beQuiet` leaves out log lines and the status line. */
    TerminalOutput(const QString& program, bool beQuiet);
    /** Takes the status line away. */
    ~TerminalOutput();
    TerminalOutput(const TerminalOutput&) = delete;
    TerminalOutput& operator=(const TerminalOutput&) = delete;

    /** A line on the course of the run; `type` as in BraskTestWorker::logMessage. */
    void log(const QDateTime& time, const QString& type, const QString& message);
    /** A line of the program itself, printed even when quiet. */
    void complain(const QString& message);
    /** Puts `text` in place of the status line; empty: none. Cut where the terminal is narrower. */
    void showStatus(const QString& text);

private:
    void print(const QString& line);
    QString drawnStatus() const;

    QString name;
    bool quiet;
    bool onTerminal;
    bool coloured;
    QString status;
};
