#pragma once

#include "engine/TestConfig.h"
#include "runner/EventWriter.h"
#include "soak/LineGauge.h"
#include "soak/RunTally.h"

#include <QGenericArgument>
#include <QObject>
#include <QThread>
#include <QTimer>

#include <functional>
#include <memory>

class BraskTestWorker;

/**
 * An engine in a thread of its own, reached as a window reaches it, and what it says.
 * Lives on the thread that makes it, with an event loop that until() runs; every function is for
 * that thread.
 */
class EngineDriver : public QObject
{
    Q_OBJECT

public:
    /** Returns when the engine has answered once. */
    EngineDriver();
    /** Ends the engine and its thread. */
    ~EngineDriver() override;

    /** Queues the call of an engine's slot. */
    void call(const char* slot, QGenericArgument first = {}, QGenericArgument second = {});
    /** Begins a new tally and a new event file at `eventPath`, then asks for a run. */
    void startRun(const TestConfig& config, const QString& eventPath);

    /** Drops the tally and the event file, so that what the process holds can be compared. */
    void forgetRun();

    /** Goes on until `holds` does; false when that takes longer than `limitMs`. */
    bool until(const std::function<bool()>& holds, int limitMs);
    /** Goes on for so long. */
    void pass(int ms);

    bool isConnected() const { return connected; }
    /** Connections, disconnections and starts that failed. */
    int failures() const { return failureCount; }
    int portListings() const { return listings; }
    const RunTally& tally() const { return run; }
    /** Why the event file is not whole; empty: it is. */
    QString eventFault() const { return events ? events->fault() : QString(); }
    LineGauge& gauge() { return lineGauge; }

signals:
    /** Every few milliseconds while until() or pass() goes on. */
    void pulse();

private:
    void listen();
    // By value: the thread sanitizer cannot see that Qt hands a signal's argument over.
    void onStatisticsUpdated(TestStats stats);

    QThread thread;
    BraskTestWorker* engine; ///< lives in `thread` and is deleted there when that has finished
    LineGauge lineGauge;
    QTimer pulseTimer;

    bool connected = false;
    int failureCount = 0;
    int listings = 0;
    RunTally run;
    std::unique_ptr<EventWriter> events; ///< of the current or last run
};
