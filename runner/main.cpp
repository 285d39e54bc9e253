#include "link/vnPortEnumerator.h"
#include "process/SignalWatch.h"
#include "runner/ExitStatus.h"
#include "runner/RunSession.h"
#include "runner/TerminalOutput.h"
#include "runner/portCheck.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace {

/** A port opened under the number of a missing standard stream would be taken for that stream. */
void occupyStandardStreams()
{
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
}

int print(const QString& text)
{
    const bool written =
        std::fputs(text.toLocal8Bit().constData(), stdout) >= 0 && std::fflush(stdout) == 0;
    if (written)
        return static_cast<int>(ExitStatus::Passed);
    TerminalOutput(false).complain(QStringLiteral("cannot write to standard output"));
    return static_cast<int>(ExitStatus::OutputFailed);
}

int listPorts()
{
    QString text;
    for (const portInfo& port : vnPortEnumerator().enumeratePorts())
        text += port.portName + u'\t' + port.description + u'\n';
    return print(text);
}

int checkPort(const QString& path)
{
    QString text;
    for (const QString& fault : portFaults(path))
        text += path + QStringLiteral(": ") + fault + u'\n';
    const int status = print(text);
    if (status != static_cast<int>(ExitStatus::Passed) || text.isEmpty())
        return status;
    return static_cast<int>(ExitStatus::LimitExceeded);
}

int run(const RunOptions& options)
{
    TerminalOutput output(options.quiet);
    const SignalWatch watch;
    RunSession session(options, output);
    QObject::connect(&watch, &SignalWatch::endRequested, &session, &RunSession::requestEnd);
    QObject::connect(&session, &RunSession::finished, qApp, &QCoreApplication::exit);
    session.start();
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    occupyStandardStreams();
    SignalWatch::block();
    // A reader that leaves and a limit on file sizes are to be write errors like any other.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const QCoreApplication application(argc, argv);
    const RunOptions options = parseRunOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case RunOptions::Outcome::ShowText:
        return print(options.message);
    case RunOptions::Outcome::ListPorts:
        return listPorts();
    case RunOptions::Outcome::CheckPort:
        return checkPort(options.port);
    case RunOptions::Outcome::Error:
        TerminalOutput(false).complain(options.message);
        return static_cast<int>(ExitStatus::WrongUsage);
    case RunOptions::Outcome::Run:
        break;
    }
    return run(options);
}
