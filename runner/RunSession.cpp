#include "runner/RunSession.h"

#include "command/OutputFile.h"
#include "command/Program.h"
#include "command/TerminalOutput.h"
#include "engine/lineCapacity.h"
#include "engine/timing/wallTime.h"
#include "runner/junitReport.h"
#include "runner/runReport.h"
#include "runner/statusPieces.h"

#include <QJsonDocument>

#include <utility>

namespace {

constexpr int statusMs = 1000;

QString reportKind()
{
    return QStringLiteral("the report");
}

} // namespace

RunSession::RunSession(const RunOptions& asked, TerminalOutput& terminal, QObject* parent)
    : QObject(parent), options(asked), output(terminal),
      engine({.timing = asked.timing,
              .writesScreen = asked.writesScreen,
              .timeoutMs = asked.config.timeoutMs,
              .pings = asked.pingPath.isEmpty() ? nullptr : &pings,
              .payload = asked.payload,
              .isLoopback = asked.isLoopback})
{
    statusTimer.setTimerType(Qt::PreciseTimer); // a coarse timer could show a second twice
    connect(&statusTimer, &QTimer::timeout, this, &RunSession::updateStatus);
    listen();
}

void RunSession::listen()
{
    connect(&engine, &EngineDriver::connected, this, &RunSession::beginRun);
    connect(&engine, &EngineDriver::notConnected, this, &RunSession::onNotConnected);
    connect(&engine, &EngineDriver::runBegan, this, &RunSession::onRunBegan);
    connect(&engine, &EngineDriver::stoppedSending, this, &RunSession::onStoppedSending);
    connect(&engine, &EngineDriver::repliedWithoutCode, this, [this] { isWithoutCode = true; });
    connect(&engine, &EngineDriver::lineLost, this, &RunSession::onLineLost);
    connect(&engine, &EngineDriver::runEnded, this, &RunSession::onRunEnded);
    connect(&engine, &EngineDriver::disconnected, this, [this] { emit finished(exitStatus); });
    connect(&engine, &EngineDriver::errorOccurred, this,
            [this](const QString& error) { output.complain(error); });
    connect(&engine, &EngineDriver::logMessage, this, &RunSession::onLogMessage);
}

void RunSession::start()
{
    engine.connectToPort(options.port, options.baudRate);
}

void RunSession::requestEnd()
{
    endRequested = true;
    if (running)
        engine.endRun();
}

void RunSession::onNotConnected(const QString& reason)
{
    output.complain(reason);
    emit finished(static_cast<int>(ExitStatus::PortNotOpened));
}

/** First reason why an output file cannot be written; empty if none. */
QString RunSession::openOutputs()
{
    for (const QString& path : {options.reportPath, options.junitPath}) {
        QString fault = outputFault(reportKind(), path);
        if (!fault.isEmpty())
            return fault;
    }
    const QString& eventPath = options.config.csvFilePath;
    if (!eventPath.isEmpty() && !events.open(eventPath))
        return events.fault();
    if (!options.pingPath.isEmpty() && !pings.open(options.pingPath))
        return pings.fault();
    return {};
}

void RunSession::beginRun()
{
    const QString fault = openOutputs();
    if (!fault.isEmpty()) {
        output.complain(fault);
        finish(static_cast<int>(ExitStatus::OutputFailed));
        return;
    }
    const LineUse use{.wholeMilliseconds = options.timing == TimingKind::Window,
                      .writesScreen = options.writesScreen};
    const QString warning = capacityWarning(options.config, options.baudRate, use);
    if (!warning.isEmpty())
        output.complain(QStringLiteral("the line cannot carry this: ") + warning);
    outcome.host = hostFacts();
    outcome.adapter = portAdapter(options.port);
    lineErrors.emplace(options.port,
                       countedErrors(outcome.adapter ? outcome.adapter->driver : QString()));
    running = true;
    engine.startRun(options.config);
    if (endRequested)
        requestEnd();
}

void RunSession::onRunBegan()
{
    recording = true;
    clock.start();
    statusTimer.start(statusMs);
}

void RunSession::onStoppedSending()
{
    updateStatus();
    statusTimer.stop();
}

void RunSession::onLineLost()
{
    outcome.lineLost = true;
    output.complain(QStringLiteral("the line takes no more packets, the run ends"));
    requestEnd();
}

void RunSession::onLogMessage(const QString& type, const QString& message)
{
    const QDateTime now = wallTime();
    record(now, type, message);
    QString shown = message;
    if (std::exchange(isWithoutCode, false))
        shown.replace(QStringLiteral("error code: 0"), QStringLiteral("no code"));
    output.log(now, type, shown);
}

void RunSession::record(const QDateTime& time, const QString& type, const QString& message)
{
    if (!recording || events.add(time, type, message))
        return;
    output.complain(events.fault() + QStringLiteral("; the run goes on without it"));
}

void RunSession::updateStatus()
{
    flushPings();
    output.showStatus(statusPieces(engine.stats(), clock.elapsed(), options.config.durationSec,
                                   engine.lastSecond()));
}

void RunSession::flushPings()
{
    if (options.pingPath.isEmpty())
        return;
    const bool wasWhole = pings.fault().isEmpty();
    if (!pings.flush() && wasWhole)
        output.complain(pings.fault() + QStringLiteral("; the run goes on without it"));
}

void RunSession::onRunEnded()
{
    running = false;
    recording = false;
    outcome.lastedMs = clock.elapsed();
    outcome.stats = engine.stats();
    outcome.figures = engine.figures();
    outcome.lineErrors = lineErrors->sinceStart();
    lineErrors.reset();
    events.close();
    pings.close();
    outcome.outputFault = events.fault().isEmpty() ? pings.fault() : events.fault();
    output.showStatus({});

    const Verdict verdict = judge(options, outcome);
    for (const QString& reason : verdict.reasons())
        output.complain(QStringLiteral("not passed: ") + reason);
    const bool written = writeReports(verdict);
    if (written && verdict.status == ExitStatus::Passed)
        output.log(wallTime(), QStringLiteral("SUCCESS"), QStringLiteral("The run passed"));
    finish(static_cast<int>(written ? verdict.status : ExitStatus::OutputFailed));
}

/**
 * Writes both reports, also if one of them fails, and complains about errors. True when both are
 * written.
 */
bool RunSession::writeReports(const Verdict& verdict)
{
    const QString junitFault =
        writeOutput(reportKind(), options.junitPath, junitReport(options, outcome, verdict));
    // The other report contains the verdict, which must agree with the program's exit status.
    if (outcome.outputFault.isEmpty())
        outcome.outputFault = junitFault;
    const QJsonObject report = runReport(options, outcome, judge(options, outcome));
    const QString fault =
        writeOutput(reportKind(), options.reportPath, QJsonDocument(report).toJson());
    for (const QString& text : {junitFault, fault}) {
        if (!text.isEmpty())
            output.complain(text);
    }
    return junitFault.isEmpty() && fault.isEmpty();
}

void RunSession::finish(int status)
{
    exitStatus = status;
    engine.disconnectPort();
}

#include "moc_RunSession.cpp"
