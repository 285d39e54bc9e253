#pragma once

#include "engine/BraskTestWorker.h"
#include "runner/EventWriter.h"
#include "tests/support/ModuleThread.h"

#include <atomic>
#include <limits>

/** What an engine has told its observer of one ping. */
struct PingEntry
{
    enum class End { GivenUp, Changed, Matched };

    QList<qint64> startsNs;                ///< none: sending it failed
    QList<std::pair<End, qint64>> endings; ///< how and when
    bool isByEcho = false;                 ///< given up in the moment in which its echo came
};

/** All that is known of one run. */
struct RunAccount
{
    static constexpr qint64 never = std::numeric_limits<qint64>::max();

    TestConfig config;
    bool isExact = false; ///< no echo waits on the line when a ping is given up
    // By whoever has the module; moments are the steady clock's.
    ModuleFaults faults;
    std::vector<LedgerEntry> arrived; ///< the module's word on every ping
    qint64 cutNs = never;             ///< when the line was unplugged or stalled
    // As the engine has told it. What came before the first ping is not in `others` and the next.
    QMap<quint64, PingEntry> pings;                                ///< by number
    QMap<std::pair<PingObserver::Other, quint64>, quint64> others; ///< late echoes by number, too
    quint64 errorReplies = 0;
    qint64 waitNs = 0; ///< when the final wait began
    qint64 endNs = 0;
    QList<std::pair<QString, QString>> lines; ///< type and message, from the start to the summary
    TestStats stats;                          ///< the last ones published
    bool statsAgree = true;                   ///< no statistics contradict those before them
    int completions = 0;                      ///< how often the end was announced
    int peakBytes = 0; ///< most that waited at a look; 0 where none can get lost for that
    EventWriter events;
};

/** An engine in a thread of its own, what it says, and its event file. Use it from one thread. */
class EngineBench : private PingObserver
{
public:
    explicit EngineBench(bool exactTiming);
    ~EngineBench() override; ///< ends the engine and its thread

    /** Has the engine do it in its thread, and returns when it has. */
    void have(const std::function<void(BraskTestWorker& it)>& deed);
    /** Queues the call of an engine's slot. */
    void post(const char* slot) { QMetaObject::invokeMethod(engine, slot, Qt::QueuedConnection); }
    void startRun(const TestConfig& config, const QString& eventPath);
    /** The account of the run, for whose end it waits; a run that does not end is not completed. */
    std::unique_ptr<RunAccount> takeRun();

    // As of the last have().
    bool isConnected = false;
    int failures = 0; ///< connections, disconnections and starts

private:
    using End = PingEntry::End;
    void end(quint64 id, End how, qint64 ns) { run->pings[id].endings.append({how, ns}); }
    void pingSent(const Sent& ping) override { run->pings[ping.id].startsNs += ping.startNs; }
    void sendFailed(quint64 id, int, qint64) override { run->pings[id]; }
    void echoMatched(const Echo& e) override { end(e.id, End::Matched, e.readNs); }
    void echoChanged(const Echo& e) override { end(e.id, End::Changed, e.readNs); }
    void pingGivenUp(quint64 id, qint64 ns, bool) override { end(id, End::GivenUp, ns); }
    void otherArrived(Other what, quint64 id, qint64 ns) override
    {
        if (what == Other::LateEcho)
            run->pings[id].isByEcho |= run->pings[id].endings.contains({End::GivenUp, ns});
        run->others[{what, what == Other::LateEcho ? id : 0}] += run->pings.isEmpty() ? 0 : 1;
    }
    void errorReplied(int, qint64) override { run->errorReplies += run->pings.isEmpty() ? 0 : 1; }
    void sendingEnded(qint64 atNs) override { run->waitNs = atNs; }
    void runEnded(qint64 atNs) override { run->endNs = atNs; }

    const bool isExact;
    QThread thread;
    TaskRunner runner;               ///< lives in `thread`
    BraskTestWorker* engine;         ///< likewise
    std::unique_ptr<RunAccount> run; ///< touched there only
    std::atomic<bool> hasEnded = true;
};
