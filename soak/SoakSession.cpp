#include "soak/SoakSession.h"

#include "soak/EngineDriver.h"

#include <QDir>
#include <QFile>

namespace {

/** What the machine may be late by, on top of the engine's own waits. */
constexpr int patienceMs = 20000;
/** The engine looks every 50 ms in the final wait, and waits once more behind the last look. */
constexpr qint64 lastLookMs = 100;

ModuleCounts difference(const ModuleCounts& now, const ModuleCounts& before)
{
    ModuleCounts counts;
    for (const ModuleCountField& field : moduleCountFields)
        counts.*field.value = now.*field.value - before.*field.value;
    return counts;
}

/** Whatever a ping changes; the display's requests go on all the time. */
bool agreeOnPings(const ModuleCounts& a, const ModuleCounts& b)
{
    return a.pingsReceived == b.pingsReceived && a.unanswered == b.unanswered &&
           a.duplicated == b.duplicated;
}

} // namespace

SoakSession::SoakSession(EngineDriver& driver, const QString& workingDirectory, SoakTotals& sums)
    : engine(driver), totals(sums), directory(workingDirectory),
      linkPath(QDir(workingDirectory).filePath(QStringLiteral("line")))
{
    connect(&engine, &EngineDriver::pulse, this, &SoakSession::watchFinalWait);
}

QStringList SoakSession::play(const SessionPlan& plan)
{
    ++totals.sessions;
    if (plan.tryBeforePlugged && connectEngine(plan.baudRate))
        complain(QStringLiteral("connected to nothing"));
    plugIn(plan.faults);
    if (!connectEngine(plan.baudRate))
        complain(QStringLiteral("no connection"));
    engine.pass(plan.idleMs);
    if (plan.unplugWhileIdle)
        unplug();
    playRun(plan.runs.first(), plan.baudRate);
    for (const RunPlan& run : plan.runs.sliced(1)) {
        if (!lineIsGood)
            replug(plan);
        playRun(run, plan.baudRate);
    }
    disconnectEngine();
    startUnconnected();
    engine.gauge().watch({});
    unplug();
    module.reset();
    return complaints;
}

void SoakSession::plugIn(const ModuleFaults& settings)
{
    faults = settings;
    module = std::make_unique<ModuleThread>(settings);
    sequence = std::make_unique<FaultPlan>(settings);
    QFile::link(module->path(), linkPath);
    engine.gauge().watch(linkPath);
    lineIsGood = true;
}

void SoakSession::unplug()
{
    if (!QFile::remove(linkPath))
        return;
    ++totals.unplugs;
    lineIsGood = false;
    lineWasCut = true;
    module->unplug();
}

void SoakSession::stall()
{
    ++totals.stalls;
    lineIsGood = false;
    lineWasCut = true;
    module->stall();
}

void SoakSession::replug(const SessionPlan& plan)
{
    disconnectEngine();
    unplug();
    plugIn(plan.faults);
    if (!connectEngine(plan.baudRate))
        complain(QStringLiteral("no connection after plugging in again"));
}

bool SoakSession::connectEngine(int baudRate)
{
    const int failed = engine.failures();
    engine.call("connectToPort", Q_ARG(QString, linkPath), Q_ARG(int, baudRate));
    engine.until([&] { return engine.isConnected() || engine.failures() > failed; }, patienceMs);
    ++(engine.isConnected() ? totals.connections : totals.refusedConnections);
    return engine.isConnected();
}

void SoakSession::disconnectEngine()
{
    if (engine.isConnected())
        engine.call("disconnectPort");
    if (!engine.until([this] { return !engine.isConnected(); }, patienceMs))
        complain(QStringLiteral("no disconnection"));
}

void SoakSession::startUnconnected()
{
    const int failed = engine.failures();
    engine.call("startTest", Q_ARG(TestConfig, TestConfig{}));
    if (!engine.until([&] { return engine.failures() > failed; }, patienceMs))
        complain(QStringLiteral("a start without a connection was not refused"));
}

void SoakSession::playRun(const RunPlan& plan, int baudRate)
{
    lineWasCut = !lineIsGood;
    before = module->counts();
    const QString eventPath = QDir(directory).filePath(QStringLiteral("events.csv"));
    QFile::remove(eventPath);
    engine.startRun(plan.config, eventPath);
    if (!engine.until([this] { return engine.tally().hasStarted(); }, patienceMs)) {
        complain(QStringLiteral("the run did not start"));
        return;
    }
    engine.pass(plan.asideAfterMs);
    playAside(plan.aside, baudRate);
    engine.pass(plan.endingAfterMs - plan.asideAfterMs);
    playEnding(plan);
    if (!engine.until([this] { return engine.tally().completions > 0; },
                      2 * plan.config.timeoutMs + patienceMs)) {
        complain(QStringLiteral("the run did not end"));
        return;
    }
    judge();
    for (const QString& fault : judgeEventFile(eventPath, engine.tally()))
        complain(fault);
    if (!engine.eventFault().isEmpty())
        complain(engine.eventFault());
}

void SoakSession::playAside(Aside aside, int baudRate)
{
    const int listings = engine.portListings();
    switch (aside) {
    case Aside::Nothing:
        break;
    case Aside::Start:
        engine.call("startTest", Q_ARG(TestConfig, TestConfig{}));
        break;
    case Aside::Connect:
        engine.call("connectToPort", Q_ARG(QString, linkPath), Q_ARG(int, baudRate));
        break;
    case Aside::Refresh:
        engine.call("refreshPorts");
        if (!engine.until([&] { return engine.portListings() > listings; }, patienceMs))
            complain(QStringLiteral("no list of ports"));
    }
}

void SoakSession::playEnding(const RunPlan& plan)
{
    switch (plan.ending) {
    case Ending::UnplugAndStop:
    case Ending::UnplugAndDisconnect:
        unplug();
        engine.pass(plan.troubleMs);
        break;
    case Ending::StallAndStop:
    case Ending::StallAndDisconnect:
        stall();
        engine.pass(plan.troubleMs);
        break;
    default:
        break;
    }
    switch (plan.ending) {
    case Ending::Duration:
        break;
    case Ending::Disconnect:
    case Ending::UnplugAndDisconnect:
    case Ending::StallAndDisconnect:
        lineIsGood = false;
        engine.call("disconnectPort");
        break;
    case Ending::StopTwice:
        engine.call("stopTest");
        [[fallthrough]];
    default:
        engine.call("stopTest");
    }
    const bool waits =
        engine.until([this] { return engine.tally().waitsForReplies(); }, patienceMs);
    lastSeen = module->counts();
    lastChangeMs = LineGauge::steadyMs();
    if (waits && plan.ending == Ending::UnplugInFinalWait) {
        engine.pass(plan.troubleMs);
        unplug();
    }
}

void SoakSession::watchFinalWait()
{
    if (!module || !engine.tally().waitsForReplies() || engine.tally().completions > 0)
        return;
    engine.gauge().look();
    const ModuleCounts now = module->counts();
    if (!agreeOnPings(now, lastSeen))
        lastChangeMs = LineGauge::steadyMs();
    lastSeen = now;
}

/** Waits for pings that a slow line has still to carry; true when that is not worth a wait. */
bool SoakSession::allPingsArrive()
{
    constexpr int quickBaudRate = 19200;
    const bool quick = faults.baudRate == 0 || faults.baudRate >= quickBaudRate;
    if (lineWasCut || engine.tally().failedSends > 0 || !quick)
        return true;
    const quint64 expected = before.pingsReceived + engine.tally().stats.packetsSent;
    return engine.until([&] { return module->counts().pingsReceived == expected; }, patienceMs);
}

void SoakSession::judge()
{
    if (!allPingsArrive())
        complain(QStringLiteral("not every ping that was sent arrived"));
    const ModuleCounts now = module->counts();
    if (!agreeOnPings(now, lastSeen))
        lastChangeMs = LineGauge::steadyMs();

    RunEvidence run;
    run.tally = engine.tally();
    run.module = difference(now, before);
    run.forecast = AnswerForecast::of(*sequence, run.module.pingsReceived);
    run.lineWasCut = lineWasCut;
    run.answeredInTime = run.module.unanswered == 0 && run.module.overrun == 0 &&
                         run.module.pingsReceived == run.tally.stats.packetsSent &&
                         lastChangeMs + lastLookMs <= engine.gauge().completedAtMs();
    run.peakBytes = engine.gauge().takePeak();
    run.chanceIsLikely = faults.baudRate > 0 || faults.garbage + faults.corrupt + faults.split > 0;

    const RunJudgement verdict = judgeRun(run);
    for (const QString& rule : verdict.disagreements)
        complain(rule);
    lineIsGood = lineIsGood && verdict.account == Account::Exact;
    ++totals.runs;
    ++totals.runsByAccount.at(static_cast<size_t>(verdict.account));
    totals.sent += run.tally.stats.packetsSent;
    totals.received += run.tally.stats.packetsReceived;
    totals.lost += run.tally.stats.packetsLost;
    totals.failedSends += run.tally.failedSends;
    totals.eventRows += static_cast<quint64>(run.tally.lines.size());
    totals.framesUnread += verdict.framesUnread;
}

void SoakSession::complain(const QString& about)
{
    const TestStats& stats = engine.tally().stats;
    complaints += QStringLiteral("%1 (sent %2, received %3, lost %4)")
                      .arg(about)
                      .arg(stats.packetsSent)
                      .arg(stats.packetsReceived)
                      .arg(stats.packetsLost);
}
