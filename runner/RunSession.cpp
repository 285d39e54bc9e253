#include "runner/RunSession.h"

#include "engine/BraskTestWorker.h"
#include "engine/ExactTiming.h"
#include "engine/WindowTiming.h"
#include "engine/metaTypes.h"
#include "runner/ExitStatus.h"
#include "runner/TerminalOutput.h"
#include "runner/hostFacts.h"
#include "runner/junitReport.h"
#include "runner/lineCapacity.h"
#include "runner/openFault.h"
#include "runner/portAdapter.h"
#include "runner/reportTarget.h"
#include "runner/runReport.h"
#include "runner/statusText.h"

#include <QCoreApplication>
#include <QJsonDocument>

namespace {

constexpr int statusMs = 1000;

} // namespace

RunSession::RunSession(const RunOptions& asked, TerminalOutput& terminal, QObject* parent)
    : QObject(parent), options(asked), output(terminal),
      observer(asked.pingPath.isEmpty() ? nullptr : &pings, asked.config.timeoutMs),
      worker(makeEngine())
{
    registerEngineTypes();
    statusTimer.setTimerType(Qt::PreciseTimer); // or seconds would be shown twice
    connect(&statusTimer, &QTimer::timeout, this, &RunSession::updateStatus);
    startEngine();
}

RunSession::~RunSession()
{
    thread.quit();
    thread.wait();
}

BraskTestWorker* RunSession::makeEngine()
{
    BraskTestWorker::Setup setup;
    if (options.timing == RunOptions::Timing::Exact)
        setup.timing = std::make_unique<ExactTiming>();
    else
        setup.timing = std::make_unique<WindowTiming>();
    setup.observer = &observer;
    setup.writesScreen = options.writesScreen;
    return new BraskTestWorker(std::move(setup));
}

void RunSession::startEngine()
{
    worker->moveToThread(&thread);
    connect(&thread, &QThread::finished, worker, &QObject::deleteLater);
    connect(worker, &BraskTestWorker::connectionChanged, this, &RunSession::onConnectionChanged);
    connect(worker, &BraskTestWorker::errorOccurred, this, &RunSession::onErrorOccurred);
    connect(worker, &BraskTestWorker::logMessage, this, &RunSession::onLogMessage);
    connect(worker, &BraskTestWorker::testCompleted, this, &RunSession::onTestCompleted);
    connect(worker, &BraskTestWorker::statisticsUpdated, this, &RunSession::onStatisticsUpdated);
    // Sent from the engine's thread, although the observer lives in this one.
    connect(&observer, &RunObserver::began, this, &RunSession::onRunBegan, Qt::QueuedConnection);
    connect(&observer, &RunObserver::stoppedSending, this, &RunSession::onStoppedSending,
            Qt::QueuedConnection);
    connect(&observer, &RunObserver::lineLost, this, &RunSession::onLineLost, Qt::QueuedConnection);
    thread.start();
}

void RunSession::start()
{
    QMetaObject::invokeMethod(worker, "connectToPort", Q_ARG(QString, options.port),
                              Q_ARG(int, options.baudRate));
}

void RunSession::requestEnd()
{
    endRequested = true;
    if (stage == Stage::Running)
        QMetaObject::invokeMethod(worker, "stopTest");
}

void RunSession::onConnectionChanged(bool connected)
{
    if (connected) {
        beginRun();
    } else if (stage == Stage::Disconnecting) {
        thread.quit();
        thread.wait();
        // The engine has one more line to say, and that may be on its way yet.
        QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
        emit finished(exitStatus);
    } else {
        const QString reason = openFault(options.port);
        const QString where =
            reason.isEmpty() ? options.port : options.port + QStringLiteral(": ") + reason;
        output.complain(QStringLiteral("%1 (%2)").arg(connectError, where));
        emit finished(static_cast<int>(ExitStatus::PortNotOpened));
    }
}

void RunSession::onErrorOccurred(const QString& error)
{
    if (stage == Stage::Connecting)
        connectError = error;
    else
        output.complain(error);
}

/** Why not all files can be written, in one line; empty when they can. */
QString RunSession::openOutputs()
{
    for (const QString& path : {options.reportPath, options.junitPath}) {
        QString fault = reportTargetFault(path);
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
    const LineUse use{.wholeMilliseconds = options.timing == RunOptions::Timing::Window,
                      .writesScreen = options.writesScreen};
    const QString warning = capacityWarning(options.config, options.baudRate, use);
    if (!warning.isEmpty())
        output.complain(QStringLiteral("the line cannot carry this: ") + warning);
    outcome.host = hostFacts();
    outcome.adapter = toJson(portAdapter(options.port));
    lineErrors.emplace(options.port);
    stage = Stage::Running;
    QMetaObject::invokeMethod(worker, "startTest", Q_ARG(TestConfig, options.config));
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
    const QDateTime now = QDateTime::currentDateTime();
    record(now, type, message);
    output.log(now, type, message);
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
    output.showStatus(statusText(outcome.stats, clock.elapsed(), options.config.durationSec,
                                 observer.lastSecond()));
}

void RunSession::flushPings()
{
    if (options.pingPath.isEmpty())
        return;
    const bool wasWhole = pings.fault().isEmpty();
    if (!pings.flush() && wasWhole)
        output.complain(pings.fault() + QStringLiteral("; the run goes on without it"));
}

void RunSession::onStatisticsUpdated(TestStats stats)
{
    outcome.stats = stats;
}

void RunSession::onTestCompleted()
{
    recording = false;
    outcome.lastedMs = clock.elapsed();
    outcome.figures = observer.figures();
    outcome.lineErrors = lineErrors->sinceStart();
    lineErrors.reset();
    events.close();
    pings.close();
    outcome.outputFault = events.fault().isEmpty() ? pings.fault() : events.fault();
    output.showStatus({});

    const Verdict verdict = judge(options, outcome);
    for (const QString& reason : verdict.reasons())
        output.complain(QStringLiteral("not passed: ") + reason);
    if (verdict.status == ExitStatus::Passed)
        output.log(QDateTime::currentDateTime(), QStringLiteral("SUCCESS"),
                   QStringLiteral("The run passed"));
    const QString fault = writeReports(verdict);
    if (!fault.isEmpty())
        output.complain(fault);
    finish(static_cast<int>(fault.isEmpty() ? verdict.status : ExitStatus::OutputFailed));
}

/** Writes both as far as that goes; the first fault, in one line. */
QString RunSession::writeReports(const Verdict& verdict) const
{
    const QByteArray report = QJsonDocument(runReport(options, outcome, verdict)).toJson();
    const QString fault = writeReport(options.reportPath, report);
    const QString other = writeReport(options.junitPath, junitReport(options, outcome, verdict));
    return fault.isEmpty() ? other : fault;
}

void RunSession::finish(int status)
{
    exitStatus = status;
    stage = Stage::Disconnecting;
    QMetaObject::invokeMethod(worker, "disconnectPort");
}
