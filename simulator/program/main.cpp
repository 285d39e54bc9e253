#include "command/OutputFile.h"
#include "command/Program.h"
#include "command/SignalWatch.h"
#include "simulator/SimulatedModule.h"
#include "simulator/program/LedgerFile.h"
#include "simulator/program/LineLink.h"
#include "simulator/program/TerminalView.h"
#include "simulator/program/moduleOptions.h"
#include "simulator/program/moduleSummary.h"

#include <QCoreApplication>

#include <memory>

#include <unistd.h>

namespace {

int fail(Program& program, const QString& message, ExitStatus status)
{
    program.complain(message);
    return static_cast<int>(status);
}

/** Writes the summary and the ledger, also if one of them fails. A null `ledger` is not written. */
int writeResults(Program& program, const SimulatedModule& module, const QString& summaryPath,
                 LedgerFile* ledger)
{
    int status = static_cast<int>(ExitStatus::Passed);
    const QString fault =
        writeOutput(QStringLiteral("the summary"), summaryPath, moduleSummary(module));
    if (!fault.isEmpty())
        status = fail(program, fault, ExitStatus::OutputFailed);
    if (ledger != nullptr && !ledger->commit())
        status = fail(program, ledger->fault(), ExitStatus::OutputFailed);
    return status;
}

int run(Program& program, const ModuleOptions& options)
{
    const SignalWatch watch;
    LedgerFile ledger(options.ledgerPath);
    SimulatedModule module(options.faults);
    QObject::connect(&watch, &SignalWatch::endRequested, qApp, &QCoreApplication::quit);
    QObject::connect(&module, &SimulatedModule::unplugged, qApp, &QCoreApplication::quit);
    if (!module.open())
        return fail(program, module.errorText(), ExitStatus::Failed);

    LineLink link;
    QString reason;
    if (!options.linkPath.isEmpty()) {
        const LineLink::Result result = link.make(options.linkPath, module.linePath(), reason);
        if (result == LineLink::Result::Occupied)
            return fail(program, QStringLiteral("--link: ") + reason, ExitStatus::WrongUsage);
        if (result == LineLink::Result::Failed)
            return fail(program, QStringLiteral("--link: ") + reason, ExitStatus::Failed);
    }
    if (!options.ledgerPath.isEmpty()) {
        if (!ledger.open())
            return fail(program, ledger.fault(), ExitStatus::OutputFailed);
        module.keepLedger([&ledger](const LedgerEntry& ping) { ledger.add(ping); });
    }
    const int printed = program.print(module.linePath() + u'\n');
    if (printed != static_cast<int>(ExitStatus::Passed))
        return printed;

    std::unique_ptr<TerminalView> view;
    if (takesEscapes(STDOUT_FILENO))
        view = std::make_unique<TerminalView>(module);
    QCoreApplication::exec();
    view.reset();
    module.closeLedger();
    return writeResults(program, module, options.summaryPath,
                        options.ledgerPath.isEmpty() ? nullptr : &ledger);
}

} // namespace

int main(int argc, char** argv)
{
    Program::prepare();
    SignalWatch::block();
    const QCoreApplication application(argc, argv);
    Program program(QStringLiteral("packetbrask-module"));
    const ModuleOptions options = parseModuleOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case ModuleOptions::Outcome::Help:
        return program.print(options.message);
    case ModuleOptions::Outcome::Error:
        return program.refuse(options.message);
    case ModuleOptions::Outcome::Run:
        break;
    }
    return run(program, options);
}
