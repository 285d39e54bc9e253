#include "command/ExitStatus.h"
#include "command/SignalWatch.h"
#include "command/TerminalOutput.h"
#include "command/standardStreams.h"
#include "command/useUtf8.h"
#include "link/vnPortEnumerator.h"
#include "port/portCheck.h"
#include "runner/RunSession.h"

#include <QCoreApplication>

namespace {

QString programName()
{
    return QStringLiteral("packetbrask-run");
}

int print(const QString& text)
{
    const QString fault = printOnStandardOutput(text.toLocal8Bit());
    if (fault.isEmpty())
        return static_cast<int>(ExitStatus::Passed);
    TerminalOutput(programName(), false).complain(fault);
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
    TerminalOutput output(programName(), options.quiet);
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
    prepareStandardStreams();
    useUtf8();
    SignalWatch::block();
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
        TerminalOutput(programName(), false).complain(options.message);
        return static_cast<int>(ExitStatus::WrongUsage);
    case RunOptions::Outcome::Run:
        break;
    }
    return run(options);
}
