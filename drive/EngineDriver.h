#pragma once

#include "drive/RunObserver.h"
#include "engine/Payload.h"
#include "engine/TestStats.h"
#include "engine/timing/EngineTiming.h"

#include <QObject>
#include <QThread>

class BraskTestWorker;

/**
 * Drives an engine in a thread of its own: connects once, makes any number of runs over that
 * connection, one at a time, and disconnects. Tells what happens by signals, in the order in which
 * it happened. Lives on the thread that makes it, which needs an event loop; every function and
 * every signal is on that thread.
 */
class EngineDriver : public QObject
{
    Q_OBJECT

public:
    struct Setup
    {
        TimingKind timing = TimingKind::Exact;
        bool writesScreen = true;  ///< false: the module's screen is left alone
        int timeoutMs = 500;       ///< of all runs, as in TestConfig
        PingSink* pings = nullptr; ///< as of RunMeasurement; not owned
        Payload payload{};         ///< as of BraskTestWorker::Setup
        bool isLoopback = false;   ///< likewise
    };

    explicit EngineDriver(const Setup& setup, QObject* parent = nullptr);
    /** Ends a run, disconnects, and waits until the engine has ended. */
    ~EngineDriver() override;

    /** Once in the object's life; connected() or notConnected() follows. */
    void connectToPort(const QString& port, int baudRate);
    /** While connected, and not during a run: runBegan() follows. */
    void startRun(const TestConfig& config);
    /** runEnded() follows if there is a run; else nothing happens. */
    void endRun();
    /** While connected: ends a run first. disconnected() follows. */
    void disconnectPort();

    /** Of the run under way or of the last one, as the engine last reported. */
    const TestStats& stats() const { return lastStats; }
    /** Likewise, of this moment. */
    RunFigures figures() const { return observer.figures(); }
    std::optional<TimeSpan> lastSecond() const { return observer.lastSecond(); }

signals:
    void connected();
    /** One line: the engine's and the system's error. Do not use the object again. */
    void notConnected(const QString& reason);
    /** In front of the engine's first line on the run. */
    void runBegan();
    /** stats() is new. */
    void statsUpdated();
    /** No more pings are sent; the final wait begins. */
    void stoppedSending();
    /** In front of the line on an error reply that carried no code; the line has a 0. */
    void repliedWithoutCode();
    /** At most once a run: for longer than the time-out no ping could be sent. */
    void lineLost();
    /** stats() and figures() are final. Once a run. */
    void runEnded();
    /** The engine has sent its last line. Do not use the object again. */
    void disconnected();
    /** As of BraskTestWorker; none of these comes while connecting. */
    void errorOccurred(const QString& error);
    /** As of BraskTestWorker. */
    void logMessage(const QString& type, const QString& message);

private:
    static BraskTestWorker* makeEngine(const Setup& setup, RunObserver& observer);
    void startEngine();
    void onConnectionChanged(bool isConnected);
    void onErrorOccurred(const QString& error);
    // By value: the thread sanitizer cannot see that Qt hands a signal's argument over.
    void onStatisticsUpdated(TestStats stats);

    enum class Stage { Connecting, Connected, Disconnecting };

    RunObserver observer; ///< told by the engine, in `thread`
    QThread thread;
    BraskTestWorker* worker; ///< lives in `thread` and is deleted there when that has finished

    Stage stage = Stage::Connecting;
    QString portPath;
    QString connectError; ///< what the engine said about the port it could not open
    TestStats lastStats;
};
