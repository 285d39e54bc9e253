#pragma once

#include "command/StandardError.h"

#include <QString>

/** Exit status of a program. Each program's page tells which one counts when several apply. */
enum class ExitStatus {
    Passed = 0,
    Failed = 1, ///< the program did not reach its goal; its page defines when
    WrongUsage = 2,
    PortNotOpened = 3,
    LineLost = 4,
    OutputFailed = 5, ///< an output is missing or incomplete
    Disturbed = 6,    ///< the computer was too busy for the test
};

/** Common functions for the main() of every command-line program. One thread. */
class Program
{
public:
    /**
     * Prepares the process. Call it once, before anything else in the program. It opens missing
     * standard streams, so that no file or port gets their descriptor numbers. A closed pipe and a
     * file size limit become write errors instead of signals. If the environment names no locale,
     * only "C" or a locale that is not installed, it selects C.UTF-8, because Qt uses UTF-8 anyway
     * and would print a warning. A locale with another encoding is kept; Qt then prints what it
     * uses instead.
     */
    static void prepare();

    /** `name` is put in front of every complaint, for example "packetbrask-run". */
    explicit Program(const QString& name) : errors(name) {}

    /**
     * Prints all of `text` on standard output. Returns Passed, or OutputFailed after a complaint.
     */
    int print(const QString& text);
    /** Prints one line on standard error. */
    void complain(const QString& message) { errors.complain(message); }
    /** Complains about the command line. Returns WrongUsage. */
    int refuse(const QString& message);
    /** The object that complain() writes to; owned by this object. */
    StandardError& standardError() { return errors; }

private:
    StandardError errors;
};

/**
 * Whether `descriptor` is a terminal that understands escape sequences for cursor and colours: TERM
 * is set and is not "dumb".
 */
bool takesEscapes(int descriptor);
