#pragma once

#include "drive/RunObserver.h"
#include "engine/Payload.h"
#include "engine/TestStats.h"
#include "engine/timing/EngineTiming.h"

#include <QObject>
#include <QThread>

class BraskTestWorker;

/**
 * Runs an engine in a thread of its own: connects once, makes any number of runs over that
 * connection, one at a time, and disconnects. Reports events by signals, in the order in which they
 * happened. The object lives on the thread that creates it, which needs an event loop. Call every
 * function on that thread; every signal is emitted there.
 */
class EngineDriver : public QObject
{
    Q_OBJECT

public:
    struct Setup
    {
        TimingKind timing = TimingKind::Exact;
        bool writesScreen = true;  ///< false: nothing is written on the module's screen
        int timeoutMs = 500;       ///< for all runs, as in TestConfig
        PingSink* pings = nullptr; ///< as in RunMeasurement; not owned
        Payload payload{};         ///< as in BraskTestWorker::Setup
        bool isLoopback = false;   ///< as in BraskTestWorker::Setup
    };

    explicit EngineDriver(const Setup& setup, QObject* parent = nullptr);
    /** Ends a run, disconnects and waits until the engine has ended. */
    ~EngineDriver() override;

    /** Call it once per object; connected() or notConnected() follows. */
    void connectToPort(const QString& port, int baudRate);
    /** Call it while connected and not during a run; runBegan() follows. */
    void startRun(const TestConfig& config);
    /** Ends a run; runEnded() follows. Does nothing without a run. */
    void endRun();
    /** Call it while connected. Ends a run first; disconnected() follows. */
    void disconnectPort();

    /** Statistics of the current or the last run, as the engine last reported them. */
    const TestStats& stats() const { return lastStats; }
    /** Like stats(), but up to now. */
    RunFigures figures() const { return observer.figures(); }
    std::optional<TimeSpan> lastSecond() const { return observer.lastSecond(); }

signals:
    void connected();
    /** One line: the engine's and the system's error. Do not use the object again. */
    void notConnected(const QString& reason);
    /** Once per run, before the engine's first log line about it. */
    void runBegan();
    /** stats() has changed: every 100 ms during a run and once at its end. */
    void statsUpdated();
    /** Once per run: no more pings are sent and the final wait begins. */
    void stoppedSending();
    /** Before the log line about an error reply without a code; that line shows the code 0. */
    void repliedWithoutCode();
    /** At most once per run: no ping could be sent for longer than the time-out. */
    void lineLost();
    /** Once per run: stats() and figures() are final. */
    void runEnded();
    /** The engine has sent its last log line. Do not use the object again. */
    void disconnected();
    /** As in BraskTestWorker, but never while connecting. */
    void errorOccurred(const QString& error);
    /** As in BraskTestWorker. */
    void logMessage(const QString& type, const QString& message);

private:
    static BraskTestWorker* makeEngine(const Setup& setup, RunObserver& observer);
    void startEngine();
    void onConnectionChanged(bool isConnected);
    void onErrorOccurred(const QString& error);
    // By value, because the thread sanitizer cannot see that Qt hands over a signal's argument.
    void onStatisticsUpdated(TestStats stats);

    enum class Stage { Connecting, Connected, Disconnecting };

    RunObserver observer; ///< called by the engine, in `thread`
    QThread thread;
    BraskTestWorker* worker; ///< lives in `thread`; deleted there when that thread has finished

    Stage stage = Stage::Connecting;
    QString portPath;
    QString connectError; ///< the engine's error for the port that it could not open
    TestStats lastStats;
};
