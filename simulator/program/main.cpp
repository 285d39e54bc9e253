#include "command/OutputFile.h"
#include "command/SignalWatch.h"
#include "command/StandardError.h"
#include "command/standardStreams.h"
#include "command/terminal.h"
#include "command/useUtf8.h"
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

enum ExitStatus { Success = 0, RunFailed = 1, UsageError = 2, OutputFailed = 5 };

int fail(const QString& message, ExitStatus status)
{
    StandardError(QStringLiteral("packetbrask-module")).complain(message);
    return status;
}

int print(const QString& text)
{
    const QString fault = printOnStandardOutput(text.toLocal8Bit());
    return fault.isEmpty() ? Success : fail(fault, OutputFailed);
}

/** Writes both as far as that goes; without a `ledger` there is none. */
int writeResults(const SimulatedModule& module, const QString& summaryPath, LedgerFile* ledger)
{
    int status = Success;
    const QString fault =
        writeOutput(QStringLiteral("the summary"), summaryPath, moduleSummary(module));
    if (!fault.isEmpty())
        status = fail(fault, OutputFailed);
    if (ledger != nullptr && !ledger->commit())
        status = fail(ledger->fault(), OutputFailed);
    return status;
}

int run(const ModuleOptions& options)
{
    const SignalWatch watch;
    LedgerFile ledger(options.ledgerPath);
    SimulatedModule module(options.faults);
    QObject::connect(&watch, &SignalWatch::endRequested, qApp, &QCoreApplication::quit);
    QObject::connect(&module, &SimulatedModule::unplugged, qApp, &QCoreApplication::quit);
    if (!module.open())
        return fail(module.errorText(), RunFailed);

    LineLink link;
    QString reason;
    if (!options.linkPath.isEmpty()) {
        const LineLink::Result result = link.make(options.linkPath, module.linePath(), reason);
        if (result == LineLink::Result::Occupied)
            return fail(QStringLiteral("--link: ") + reason, UsageError);
        if (result == LineLink::Result::Failed)
            return fail(QStringLiteral("--link: ") + reason, RunFailed);
    }
    if (!options.ledgerPath.isEmpty()) {
        if (!ledger.open())
            return fail(ledger.fault(), OutputFailed);
        module.keepLedger([&ledger](const LedgerEntry& ping) { ledger.add(ping); });
    }
    if (print(module.linePath() + u'\n') != Success)
        return OutputFailed;

    std::unique_ptr<TerminalView> view;
    if (takesEscapes(STDOUT_FILENO))
        view = std::make_unique<TerminalView>(module);
    QCoreApplication::exec();
    view.reset();
    module.closeLedger();
    return writeResults(module, options.summaryPath,
                        options.ledgerPath.isEmpty() ? nullptr : &ledger);
}

} // namespace

int main(int argc, char** argv)
{
    prepareStandardStreams();
    useUtf8();
    SignalWatch::block();
    const QCoreApplication application(argc, argv);
    const ModuleOptions options = parseModuleOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case ModuleOptions::Outcome::Help:
        return print(options.message);
    case ModuleOptions::Outcome::Error:
        return fail(options.message, UsageError);
    case ModuleOptions::Outcome::Run:
        break;
    }
    return run(options);
}
