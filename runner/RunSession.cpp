#include "runner/RunSession.h"

#include "engine/BraskTestWorker.h"
#include "engine/metaTypes.h"
#include "runner/ExitStatus.h"
#include "runner/TerminalOutput.h"
#include "runner/hostFacts.h"
#include "runner/lineCapacity.h"
#include "runner/openFault.h"
#include "runner/portAdapter.h"
#include "runner/reportTarget.h"
#include "runner/runReport.h"
#include "runner/statusText.h"

#include <QCoreApplication>

namespace {

constexpr int statusMs = 1000;

} // namespace

RunSession::RunSession(const RunOptions& asked, TerminalOutput& terminal, QObject* parent)
    : QObject(parent), options(asked), output(terminal), worker(new BraskTestWorker),
      lineWatch(asked.config.timeoutMs)
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

void RunSession::startEngine()
{
    worker->moveToThread(&thread);
    connect(&thread, &QThread::finished, worker, &QObject::deleteLater);
    connect(worker, &BraskTestWorker::connectionChanged, this, &RunSession::onConnectionChanged);
    connect(worker, &BraskTestWorker::errorOccurred, this, &RunSession::onErrorOccurred);
    connect(worker, &BraskTestWorker::logMessage, this, &RunSession::onLogMessage);
    connect(worker, &BraskTestWorker::testCompleted, this, &RunSession::onTestCompleted);
    connect(worker, &BraskTestWorker::statisticsUpdated, this, &RunSession::onStatisticsUpdated);
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

void RunSession::beginRun()
{
    QString fault = reportTargetFault(options.reportPath);
    const QString& eventPath = options.config.csvFilePath;
    if (fault.isEmpty() && !eventPath.isEmpty() && !events.open(eventPath))
        fault = events.fault();
    if (!fault.isEmpty()) {
        output.complain(fault);
        finish(static_cast<int>(ExitStatus::OutputFailed));
        return;
    }
    const QString warning = capacityWarning(options.config, options.baudRate, {});
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

void RunSession::onLogMessage(const QString& type, const QString& message)
{
    const QDateTime now = QDateTime::currentDateTime();
    // The engine makes the moments of a run known by its lines only.
    if (message == u"Test started") {
        recording = true;
        clock.start();
        statusTimer.start(statusMs);
    } else if (message == u"Waiting for final replies...") {
        updateStatus();
        statusTimer.stop();
    }
    record(now, type, message);
    output.log(now, type, message);
    if (recording && !outcome.lineLost && lineWatch.isLostWith(message, clock.elapsed())) {
        outcome.lineLost = true;
        output.complain(QStringLiteral("the line takes no more packets, the run ends"));
        requestEnd();
    }
}

void RunSession::record(const QDateTime& time, const QString& type, const QString& message)
{
    if (!recording || events.add(time, type, message))
        return;
    output.complain(events.fault() + QStringLiteral("; the run goes on without it"));
}

void RunSession::updateStatus()
{
    outcome.sendingMs = clock.elapsed();
    output.showStatus(statusText(outcome, options.config.durationSec));
}

void RunSession::onStatisticsUpdated(TestStats stats)
{
    outcome.stats = stats;
}

void RunSession::onTestCompleted()
{
    recording = false;
    outcome.end = QDateTime::currentDateTime();
    outcome.lineErrors = lineErrors->sinceStart();
    lineErrors.reset();
    events.close();
    outcome.outputFault = events.fault();
    output.showStatus({});

    const Verdict verdict = judge(options, outcome);
    for (const QString& reason : verdict.reasons)
        output.complain(QStringLiteral("not passed: ") + reason);
    if (verdict.reasons.isEmpty())
        output.log(outcome.end, QStringLiteral("SUCCESS"), QStringLiteral("The run passed"));
    const QString fault = writeReport(options.reportPath, runReport(options, outcome, verdict));
    if (!fault.isEmpty())
        output.complain(fault);
    finish(static_cast<int>(fault.isEmpty() ? verdict.status : ExitStatus::OutputFailed));
}

void RunSession::finish(int status)
{
    exitStatus = status;
    stage = Stage::Disconnecting;
    QMetaObject::invokeMethod(worker, "disconnectPort");
}
