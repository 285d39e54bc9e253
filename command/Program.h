#pragma once

#include "command/StandardError.h"

#include <QString>

/** What a program ends with. The page of each program tells which one counts when several apply. */
enum class ExitStatus {
    Passed = 0,
    Failed = 1, ///< what the program was asked for went wrong; its page tells when
    WrongUsage = 2,
    PortNotOpened = 3,
    LineLost = 4,
    OutputFailed = 5, ///< an output is missing or incomplete
    Disturbed = 6,    ///< the computer was too busy for the test
};

/** What is the same in the main() of every command-line program. One thread. */
class Program
{
public:
    /**
     * Makes a process ready. Call it first of all, before the application object and any thread.
     * Opens standard streams that are missing, so that no file or port is taken for one. A reader
     * that leaves and a limit on file sizes become write errors like any other. Where the
     * environment names no locale, only "C" or one that this system does not have, C.UTF-8 is
     * chosen, so that Qt, which works in UTF-8 anyway, does not complain of it. A locale with
     * another encoding stays, and Qt tells what it does instead.
     */
    static void prepare();

    /** `name` begins every complaint: "packetbrask-run". */
    explicit Program(const QString& name) : errors(name) {}

    /** Prints all of `text` on standard output, or complains. Passed or OutputFailed. */
    int print(const QString& text);
    /** Prints one line on standard error. */
    void complain(const QString& message) { errors.complain(message); }
    /** Complains of the command line. WrongUsage. */
    int refuse(const QString& message);
    /** Where complain() writes; owned. */
    StandardError& standardError() { return errors; }

private:
    StandardError errors;
};

/**
 * Whether the open descriptor is a terminal that moves its cursor and shows colours when told to by
 * escape sequences: one for which TERM names a kind, and not the kind "dumb".
 */
bool takesEscapes(int descriptor);
