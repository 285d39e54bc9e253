#include "drive/runSession.h"
#include "link/vnPortEnumerator.h"
#include "measure/RunFormat.h"
#include "port/portCheck.h"
#include "runner/RunSession.h"

namespace {

QString portList()
{
    QString text;
    for (const portInfo& port : vnPortEnumerator().enumeratePorts())
        text += port.portName + u'\t' + port.description + u'\n';
    return text;
}

int checkPort(Program& program, const QString& path)
{
    QString text;
    for (const QString& fault : portFaults(path))
        text += path + QStringLiteral(": ") + fault + u'\n';
    const int status = program.print(text);
    if (status != static_cast<int>(ExitStatus::Passed) || text.isEmpty())
        return status;
    return static_cast<int>(ExitStatus::Failed);
}

} // namespace

int main(int argc, char** argv)
{
    Program::prepare();
    SignalWatch::block();
    const QCoreApplication application(argc, argv);
    Program program(RunFormat::program());
    const RunOptions options = parseRunOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case RunOptions::Outcome::ShowText:
        return program.print(options.message);
    case RunOptions::Outcome::ListPorts:
        return program.print(portList());
    case RunOptions::Outcome::CheckPort:
        return checkPort(program, options.port);
    case RunOptions::Outcome::Error:
        return program.refuse(options.message);
    case RunOptions::Outcome::Run:
        break;
    }
    return runSession<RunSession>(program, options);
}
