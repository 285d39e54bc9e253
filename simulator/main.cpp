#include "process/SignalWatch.h"
#include "process/terminal.h"
#include "simulator/LedgerFile.h"
#include "simulator/LineLink.h"
#include "simulator/SimulatedModule.h"
#include "simulator/TerminalView.h"
#include "simulator/moduleOptions.h"
#include "simulator/moduleSummary.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <memory>

#include <unistd.h>

namespace {

enum ExitStatus { Success = 0, RunFailed = 1, UsageError = 2 };

int fail(const QString& message, ExitStatus status)
{
    std::fprintf(stderr, "packetbrask-module: %s\n", message.toLocal8Bit().constData());
    return status;
}

bool announce(const QString& line)
{
    return std::fprintf(stdout, "%s\n", line.toLocal8Bit().constData()) > 0 &&
           std::fflush(stdout) == 0;
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
            return fail(ledger.errorText(), RunFailed);
        module.keepLedger([&ledger](const LedgerEntry& ping) { ledger.add(ping); });
    }
    if (!announce(module.linePath()))
        return fail(QStringLiteral("cannot write to standard output"), RunFailed);

    std::unique_ptr<TerminalView> view;
    if (takesEscapes(STDOUT_FILENO))
        view = std::make_unique<TerminalView>(module);
    QCoreApplication::exec();
    view.reset();
    if (!options.summaryPath.isEmpty() && !writeModuleSummary(module, options.summaryPath, reason))
        return fail(reason, RunFailed);
    module.closeLedger();
    if (!options.ledgerPath.isEmpty() && !ledger.commit())
        return fail(ledger.errorText(), RunFailed);
    return Success;
}

} // namespace

int main(int argc, char** argv)
{
    SignalWatch::block();
    std::signal(SIGPIPE, SIG_IGN); // a reader of standard output may leave at any time
    const QCoreApplication application(argc, argv);
    const ModuleOptions options = parseModuleOptions(QCoreApplication::arguments());
    switch (options.outcome) {
    case ModuleOptions::Outcome::Help:
        std::fputs(options.message.toLocal8Bit().constData(), stdout);
        return Success;
    case ModuleOptions::Outcome::Error:
        return fail(options.message, UsageError);
    case ModuleOptions::Outcome::Run:
        break;
    }
    return run(options);
}
