#pragma once

#include "command/Program.h"
#include "command/SignalWatch.h"
#include "command/TerminalOutput.h"

#include <QCoreApplication>

/**
 * Runs a session of a command-line program to its end, and returns the exit status that it finished
 * with. A `Session` is made of `options` and a TerminalOutput; it has start(), requestEnd() and a
 * signal finished(int). The application object exists, and SignalWatch::block() has been called.
 */
template <typename Session, typename Options>
int runSession(Program& program, const Options& options)
{
    TerminalOutput output(program.standardError(), options.quiet);
    const SignalWatch watch;
    Session session(options, output);
    QObject::connect(&watch, &SignalWatch::endRequested, &session, &Session::requestEnd);
    QObject::connect(&session, &Session::finished, qApp, &QCoreApplication::exit);
    session.start();
    return QCoreApplication::exec();
}
