#pragma once

#include "drive/EngineDriver.h"
#include "port/LineErrors.h"
#include "runner/EventWriter.h"
#include "runner/PingLog.h"
#include "runner/RunOutcome.h"
#include "runner/runOptions.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <optional>

class TerminalOutput;
struct Verdict;

/**
 * One run, from opening the port to closing it, with its event file and its report. The object
 * lives on the thread that creates it, which needs an event loop. Call every function on that
 * thread.
 */
class RunSession : public QObject
{
    Q_OBJECT

public:
    /** `terminal` is not owned and must outlive this object. */
    RunSession(const RunOptions& options, TerminalOutput& terminal, QObject* parent = nullptr);
    /** Starts the session; call it once per object. */
    void start();

public slots:
    /**
     * Ends the run in an orderly way, once it has begun; finished() follows. Repeated calls do
     * nothing.
     */
    void requestEnd();

signals:
    /** Emitted once, with an ExitStatus, when everything is written and the port is closed. */
    void finished(int exitStatus);

private:
    void listen();
    void onRunBegan();
    void onStoppedSending();
    void onLineLost();
    void onNotConnected(const QString& reason);
    void onLogMessage(const QString& type, const QString& message);
    void onRunEnded();

    QString openOutputs();
    void beginRun();
    void record(const QDateTime& time, const QString& type, const QString& message);
    void updateStatus();
    void flushPings();
    bool writeReports(const Verdict& verdict);
    void finish(int exitStatus);

    RunOptions options;
    TerminalOutput& output;
    PingLog pings;
    EngineDriver engine;

    bool running = false; ///< from startRun() to the end of the run
    bool endRequested = false;
    bool recording = false;     ///< from the begin to the end of the run
    bool isWithoutCode = false; ///< the next log line is about an error reply without a code
    int exitStatus = 0;

    RunOutcome outcome;
    EventWriter events;
    std::optional<LineErrors> lineErrors; ///< only during the run
    QElapsedTimer clock;                  ///< started at the run's start
    QTimer statusTimer;
};
