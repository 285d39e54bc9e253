#include "survey/SurveySession.h"

#include "command/OutputFile.h"
#include "runner/TerminalOutput.h"
#include "runner/hostFacts.h"
#include "runner/lineCapacity.h"
#include "runner/portAdapter.h"
#include "survey/surveyReport.h"
#include "survey/surveyTable.h"

#include <QJsonDocument>

#include <algorithm>
#include <cmath>

namespace {

constexpr int statusMs = 1000;
/** At most; no more than half of what the line has room for. */
constexpr int wakingRate = 10;
/** A module that starts anew when its port is opened has so long to do so. */
constexpr int wakingMs = 3000;
/** Pings that even the shortest trial has room for. */
constexpr double fewestPings = 3;
/** The first ping of a run at 1 a second leaves after a second, so until then it only listens. */
constexpr int longestListenMs = 900;
constexpr int shortestQuietMs = 300;
constexpr int patienceMs = 10000;
/** Of a trial that has left pings out. */
constexpr int mostRepeats = 3;

int trialMs(double seconds, int packetsPerSecond)
{
    return static_cast<int>(
        std::ceil(1000 * std::max(seconds, (fewestPings + 0.5) / packetsPerSecond)));
}

/** Twice what a frame with this payload takes. */
int quietMsFor(int sizeBytes, int baudRate)
{
    TestConfig config;
    config.minDataSize = config.maxDataSize = sizeBytes;
    const double frameMs = 1000 * meanFrameBytes(config) * bitsPerByte / baudRate;
    return std::max(shortestQuietMs, static_cast<int>(2 * frameMs));
}

QString reportKind()
{
    return QStringLiteral("the report");
}

QString secondsText(double seconds)
{
    return seconds < 90 ? QStringLiteral("%1 s").arg(std::ceil(seconds))
                        : QStringLiteral("%1 min").arg(std::ceil(seconds / 60));
}

} // namespace

SurveySession::SurveySession(const SurveyOptions& asked, TerminalOutput& terminal, QObject* parent)
    : QObject(parent), options(asked), output(terminal),
      // The capacity is to be the pings' alone, so the module's screen is left alone.
      engine({.writesScreen = false, .timeoutMs = asked.timeoutMs}),
      survey(asked.sizesBytes, asked.baudRate, asked.partialLossPercent)
{
    runTimer.setTimerType(Qt::PreciseTimer);
    runTimer.setSingleShot(true);
    connect(&runTimer, &QTimer::timeout, this, [this] { engine.endRun(); });
    connect(&statusTimer, &QTimer::timeout, this, &SurveySession::updateStatus);
    listen();
}

void SurveySession::listen()
{
    connect(&engine, &EngineDriver::connected, this, &SurveySession::onConnected);
    connect(&engine, &EngineDriver::notConnected, this, &SurveySession::onNotConnected);
    connect(&engine, &EngineDriver::runBegan, this, &SurveySession::onRunBegan);
    connect(&engine, &EngineDriver::statsUpdated, this, &SurveySession::onStatsUpdated);
    connect(&engine, &EngineDriver::lineLost, this, &SurveySession::onLineLost);
    connect(&engine, &EngineDriver::runEnded, this, &SurveySession::onRunEnded);
    connect(&engine, &EngineDriver::errorOccurred, this,
            [this](const QString& error) { output.complain(error); });
    connect(&engine, &EngineDriver::disconnected, this,
            [this] { emit finished(outcome.exitStatus); });
}

void SurveySession::start()
{
    outcome.start = QDateTime::currentDateTime();
    engine.connectToPort(options.port, options.baudRate);
}

void SurveySession::requestEnd()
{
    endRequested = true;
    if (pinging)
        engine.endRun();
}

void SurveySession::onNotConnected(const QString& reason)
{
    output.complain(reason);
    emit finished(static_cast<int>(ExitStatus::PortNotOpened));
}

void SurveySession::onConnected()
{
    const QString fault = outputFault(reportKind(), options.reportPath);
    if (!fault.isEmpty()) {
        output.complain(fault);
        outcome.exitStatus = static_cast<int>(ExitStatus::OutputFailed);
        engine.disconnectPort();
        return;
    }
    outcome.host = hostFacts();
    outcome.adapter = toJson(portAdapter(options.port));
    statusTimer.start(statusMs);
    const Survey::Next first = *survey.next();
    ping(Stage::Waking, first.sizeBytes, std::clamp(first.packetsPerSecond / 2, 1, wakingRate),
         wakingMs);
    if (endRequested)
        requestEnd();
}

void SurveySession::ping(Stage forWhat, int sizeBytes, int packetsPerSecond, int lengthMs)
{
    stage = forWhat;
    pinging = true;
    cutShort = false;
    runMs = lengthMs;
    TestConfig config;
    config.packetsPerSecond = packetsPerSecond;
    config.minDataSize = config.maxDataSize = sizeBytes;
    config.timeoutMs = options.timeoutMs;
    engine.startRun(config);
}

void SurveySession::nextTrial()
{
    const Survey::Next next = *survey.next();
    ping(Stage::Measuring, next.sizeBytes, next.packetsPerSecond,
         trialMs(options.trialSeconds, next.packetsPerSecond));
    updateStatus();
}

void SurveySession::hearOut()
{
    ping(Stage::Listening, survey.next()->sizeBytes, 1,
         std::min(longestListenMs,
                  quietMsFor(survey.next()->sizeBytes, options.baudRate) - quietMs));
}

void SurveySession::onRunBegan()
{
    runTimer.start(runMs);
}

void SurveySession::onStatsUpdated()
{
    const bool isAwake = stage == Stage::Waking && engine.stats().packetsReceived > 0;
    cutShort = cutShort || (stage == Stage::Measuring && runTimer.isActive() && isHopeless());
    if (pinging && (isAwake || cutShort))
        engine.endRun();
}

/** Whether so much is lost already that the rest of the trial makes no difference. */
bool SurveySession::isHopeless() const
{
    const Survey::Next next = *survey.next();
    return next.purpose != TrialPurpose::Load &&
           100.0 * static_cast<double>(engine.stats().packetsLost) >
               options.partialLossPercent * next.packetsPerSecond * runMs / 1000;
}

void SurveySession::onLineLost()
{
    lineIsLost = true;
    engine.endRun();
}

void SurveySession::onRunEnded()
{
    pinging = false;
    const bool ranOut = !runTimer.isActive() || cutShort;
    runTimer.stop();
    const RunFigures figures = engine.figures();
    if (lineIsLost || (figures.sent == 0 && figures.sendFailures > 0)) {
        end(ExitStatus::LineLost, QStringLiteral("the line takes no more packets"));
    } else if (endRequested && !(stage == Stage::Measuring && ranOut)) {
        end(ExitStatus::LimitExceeded, QStringLiteral("ended by a signal"));
    } else {
        switch (stage) {
        case Stage::Waking:
            afterWaking();
            break;
        case Stage::Measuring:
            afterTrial();
            break;
        case Stage::Listening:
            afterListening();
            break;
        }
    }
}

void SurveySession::afterWaking()
{
    if (engine.stats().packetsReceived == 0) {
        end(ExitStatus::LimitExceeded,
            QStringLiteral("none of %1 packets came back").arg(engine.stats().packetsSent));
        return;
    }
    quietMs = 0;
    listening.start();
    hearOut();
}

Trial SurveySession::trialMade() const
{
    const RunFigures figures = engine.figures();
    const Survey::Next next = *survey.next();
    Trial trial{.packetsPerSecond = next.packetsPerSecond,
                .purpose = next.purpose,
                .seconds = static_cast<double>(figures.sendingNs) / 1e9,
                .sent = figures.sent,
                .received = figures.received,
                .lost = figures.lost(),
                .failed = figures.sendFailures,
                .cutShort = cutShort};
    const auto due = static_cast<quint64>(trial.seconds * trial.packetsPerSecond);
    trial.unsent = due - std::min(due, trial.sent + trial.failed);
    if (figures.latencyUs) {
        trial.p50Us = figures.latencyUs->p50;
        trial.p99Us = figures.latencyUs->p99;
    }
    return trial;
}

void SurveySession::afterTrial()
{
    const Trial trial = trialMade();
    const bool clean = trial.lost + trial.failed == 0;
    // More often than not that is the computer's fault, not the line's.
    if (trial.isHindered() && repeats < mostRepeats && !endRequested) {
        ++repeats;
    } else {
        repeats = 0;
        const Survey::Next made = *survey.next();
        report(made, survey.take(trial));
    }
    if (!survey.next()) {
        end(ExitStatus::Passed, {});
    } else if (endRequested) {
        end(ExitStatus::LimitExceeded, QStringLiteral("ended by a signal"));
    } else if (clean) {
        nextTrial();
    } else {
        quietMs = 0;
        listening.start();
        hearOut();
    }
}

void SurveySession::afterListening()
{
    const RunFigures::Unexpected heard = engine.figures().unexpected;
    const quint64 echoes =
        heard.unknownEchoes + heard.lateEchoes + heard.repeatedEchoes + heard.shortEchoes;
    quietMs = echoes > 0 ? 0 : quietMs + runMs;
    if (quietMs < quietMsFor(survey.next()->sizeBytes, options.baudRate) &&
        !listening.hasExpired(patienceMs))
        hearOut();
    else
        nextTrial();
}

void SurveySession::report(const Survey::Next& next, const SizeResult& size)
{
    const Trial& trial = size.trials.back();
    QString text = QStringLiteral("%1 bytes, %2/s: %3 sent, %4 lost")
                       .arg(next.sizeBytes)
                       .arg(next.packetsPerSecond)
                       .arg(trial.sent)
                       .arg(trial.lost + trial.failed);
    if (trial.unsent > 0)
        text += QStringLiteral(", %1 left out").arg(trial.unsent);
    if (trial.cutShort)
        text += QStringLiteral(", cut short");
    const QDateTime now = QDateTime::currentDateTime();
    const bool passed = trial.passes(0);
    output.log(now, passed ? QStringLiteral("SUCCESS") : QStringLiteral("WARNING"), text);
    if (size.complete)
        output.log(now, QStringLiteral("INFO"),
                   QStringLiteral("%1 bytes: %2/s without loss, %3 % of what the line has room for")
                       .arg(next.sizeBytes)
                       .arg(*size.lossless)
                       .arg(size.sharePercent(*size.lossless), 0, 'f', 1));
}

void SurveySession::updateStatus()
{
    const Survey::Next next = *survey.next();
    const double left = survey.trialsLeft() * options.trialSeconds -
                        std::max(0, runMs - runTimer.remainingTime()) / 1000.0;
    output.showStatus({QStringLiteral("%1 bytes").arg(next.sizeBytes),
                       QStringLiteral(" (%1 of %2)").arg(next.place).arg(options.sizesBytes.size()),
                       QStringLiteral(" | %1/s").arg(next.packetsPerSecond),
                       QStringLiteral(" | about %1 left").arg(secondsText(std::max(left, 1.0)))});
}

void SurveySession::end(ExitStatus status, const QString& reason)
{
    statusTimer.stop();
    output.showStatus({});
    outcome.end = QDateTime::currentDateTime();
    outcome.sizes = survey.results();
    if (!reason.isEmpty())
        outcome.reasons += reason;
    for (const SizeResult& size : outcome.sizes) {
        if (size.isHindered())
            output.complain(QStringLiteral("with %1 bytes pings could not leave in time; when this "
                                           "computer was busy, survey again")
                                .arg(size.sizeBytes));
        if (size.lossless == 0)
            outcome.reasons += QStringLiteral("with %1 bytes not even 1 packet a second went "
                                              "without loss")
                                   .arg(size.sizeBytes);
    }
    if (status == ExitStatus::Passed && !outcome.reasons.isEmpty())
        status = ExitStatus::LimitExceeded;
    outcome.exitStatus = static_cast<int>(status);
    for (const QString& text : outcome.reasons)
        output.complain(text);
    if (!writeResult())
        outcome.exitStatus = static_cast<int>(ExitStatus::OutputFailed);
    engine.disconnectPort();
}

/** Writes both as far as that goes, and complains. Whether both are written. */
bool SurveySession::writeResult()
{
    QString tableFault;
    if (options.reportPath != u"-")
        tableFault = writeOutput(QStringLiteral("the table"), QStringLiteral("-"),
                                 surveyTable(outcome, options.partialLossPercent).toLocal8Bit());
    if (!tableFault.isEmpty()) {
        outcome.exitStatus = static_cast<int>(ExitStatus::OutputFailed);
        outcome.reasons += tableFault;
    }
    const QString fault = writeOutput(reportKind(), options.reportPath,
                                      QJsonDocument(surveyReport(options, outcome)).toJson());
    for (const QString& text : {tableFault, fault}) {
        if (!text.isEmpty())
            output.complain(text);
    }
    return tableFault.isEmpty() && fault.isEmpty();
}

#include "moc_SurveySession.cpp"
