#include "survey/SurveySession.h"

#include "command/OutputFile.h"
#include "command/TerminalOutput.h"
#include "command/hostFacts.h"
#include "engine/timing/wallTime.h"
#include "port/portAdapter.h"
#include "survey/search/trialLength.h"
#include "survey/surveyReasons.h"
#include "survey/surveyReport.h"
#include "survey/surveyTable.h"
#include "survey/trialMade.h"
#include "survey/trialText.h"

#include <QJsonDocument>

#include <algorithm>

namespace {

constexpr int statusMs = 1000;
/** Highest ping rate while waking; also at most half of what the line can carry. */
constexpr int wakingRate = 10;
/** Time for the module to answer, because it may restart when its port is opened. */
constexpr int wakingMs = 3000;
/**
 * A run at 1 ping per second sends its first ping after one second, so until then it only listens.
 */
constexpr int longestListenMs = 900;
constexpr int patienceMs = 10000;

QString reportKind()
{
    return QStringLiteral("the report");
}

} // namespace

SurveySession::SurveySession(const SurveyOptions& asked, TerminalOutput& terminal, QObject* parent)
    : QObject(parent), options(asked), output(terminal),
      // The module's screen is not written, so that the pings have the whole line.
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
    outcome.start = wallTime();
    sinceStart.start();
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
    outcome.adapter = portAdapter(options.port);
    statusTimer.start(statusMs);
    askForAnswer(Stage::Waking);
    if (endRequested)
        requestEnd();
}

void SurveySession::askForAnswer(Stage forWhat)
{
    const auto place = static_cast<std::size_t>(survey.next()->place);
    const SizeResult size = survey.results()[place - 1];
    ping(forWhat, size.sizeBytes, std::clamp(size.highestRate / 2, 1, wakingRate), wakingMs);
}

void SurveySession::ping(Stage forWhat, int sizeBytes, int packetsPerSecond, int lengthMs)
{
    stage = forWhat;
    pinging = true;
    cutShort = false;
    echoesTaken = 0;
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

void SurveySession::listenUntilQuiet()
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
    if (engine.stats().packetsReceived > echoesTaken) {
        echoesTaken = engine.stats().packetsReceived;
        lastEcho = {static_cast<double>(sinceStart.elapsed()) / 1000, wallTime()};
    }
    const bool isAnswered = (stage == Stage::Waking || stage == Stage::Asking) &&
                            cameInTime(engine.figures(), options.timeoutMs);
    cutShort = cutShort || (stage == Stage::Measuring && runTimer.isActive() && isHopeless());
    if (pinging && (isAnswered || cutShort))
        engine.endRun();
}

/** Whether so many pings are lost that the rest of the trial cannot change its result. */
bool SurveySession::isHopeless() const
{
    const Survey::Next next = *survey.next();
    const bool isSearch =
        next.purpose == TrialPurpose::Search || next.purpose == TrialPurpose::Confirmation;
    return isSearch && 100.0 * static_cast<double>(engine.stats().packetsLost) >
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
        end(ExitStatus::Failed, QStringLiteral("ended by a signal"));
    } else {
        switch (stage) {
        case Stage::Waking:
            afterWaking();
            break;
        case Stage::Measuring:
            afterTrial();
            break;
        case Stage::Asking:
            afterAsking();
            break;
        case Stage::Listening:
            afterListening();
            break;
        }
    }
}

void SurveySession::afterWaking()
{
    const RunFigures figures = engine.figures();
    const std::optional<double> lateUs = lateOnlyUs(figures, options.timeoutMs);
    if (lateUs) {
        end(ExitStatus::Failed, lateText(*lateUs, options.timeoutMs));
    } else if (figures.received == 0) {
        end(ExitStatus::Failed, QStringLiteral("none of %1 packets came back").arg(figures.sent));
    } else {
        waitForQuiet();
    }
}

void SurveySession::waitForQuiet()
{
    quietMs = 0;
    listening.start();
    listenUntilQuiet();
}

void SurveySession::afterTrial()
{
    const Trial trial = trialMade(*survey.next(), engine.figures(), options.timeoutMs, cutShort);
    if (trial.isSilent() && !endRequested) {
        silentTrial = trial;
        askForAnswer(Stage::Asking);
    } else {
        take(trial);
    }
}

/**
 * Some modules do not answer pings that come too fast, so slow pings show whether the module still
 * answers.
 */
void SurveySession::afterAsking()
{
    const Trial asked = trialMade(*survey.next(), engine.figures(), options.timeoutMs, false);
    if (asked.isSilent()) {
        outcome.silentSince = lastEcho;
        end(ExitStatus::Failed, silentText(silentTrial, lastEcho));
    } else {
        take(silentTrial);
    }
}

void SurveySession::take(const Trial& trial)
{
    const bool clean = trial.lost + trial.failed == 0;
    if (const SizeResult* size = survey.take(trial))
        report(*size);
    if (!survey.next())
        end(ExitStatus::Passed, {});
    else if (endRequested)
        end(ExitStatus::Failed, QStringLiteral("ended by a signal"));
    else if (clean)
        nextTrial();
    else
        waitForQuiet();
}

void SurveySession::afterListening()
{
    const RunFigures::Unexpected heard = engine.figures().unexpected;
    const quint64 echoes =
        heard.unknownEchoes + heard.lateEchoes + heard.repeatedEchoes + heard.shortEchoes;
    quietMs = echoes > 0 ? 0 : quietMs + runMs;
    if (quietMs < quietMsFor(survey.next()->sizeBytes, options.baudRate) &&
        !listening.hasExpired(patienceMs))
        listenUntilQuiet();
    else
        nextTrial();
}

void SurveySession::report(const SizeResult& size)
{
    const QDateTime now = wallTime();
    const bool passed = size.trials.back().passes(0);
    output.log(now, passed ? QStringLiteral("SUCCESS") : QStringLiteral("WARNING"),
               trialText(size));
    if (size.complete)
        output.log(now, QStringLiteral("INFO"), foundText(size));
}

void SurveySession::updateStatus()
{
    const double left = survey.trialsLeft() * options.trialSeconds -
                        std::max(0, runMs - runTimer.remainingTime()) / 1000.0;
    output.showStatus(nextPieces(*survey.next(), options.sizesBytes.size(), left));
}

void SurveySession::end(ExitStatus status, const QString& reason)
{
    statusTimer.stop();
    output.showStatus({});
    outcome.end = wallTime();
    outcome.sizes = survey.results();
    if (!reason.isEmpty())
        outcome.reasons += reason;
    outcome.reasons += sizeReasons(outcome.sizes, options.timeoutMs);
    for (const SizeResult& size : outcome.sizes) {
        if (size.isHindered())
            output.complain(QStringLiteral("with %1 bytes pings could not leave in time; when this "
                                           "computer was busy, survey again")
                                .arg(size.sizeBytes));
    }
    if (status == ExitStatus::Passed && !outcome.reasons.isEmpty())
        status = ExitStatus::Failed;
    outcome.exitStatus = static_cast<int>(status);
    for (const QString& text : outcome.reasons)
        output.complain(text);
    if (!writeResult())
        outcome.exitStatus = static_cast<int>(ExitStatus::OutputFailed);
    engine.disconnectPort();
}

/**
 * Writes the table and the report, also if one of them fails, and complains about errors. True when
 * both are written.
 */
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
