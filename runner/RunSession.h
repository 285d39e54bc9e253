#pragma once

#include "runner/EventWriter.h"
#include "runner/LineErrors.h"
#include "runner/PingLog.h"
#include "runner/RunObserver.h"
#include "runner/RunOutcome.h"
#include "runner/runOptions.h"

#include <QElapsedTimer>
#include <QObject>
#include <QThread>
#include <QTimer>

#include <optional>

class BraskTestWorker;
class TerminalOutput;
struct Verdict;

/**
 * One run from opening the port to closing it: drives the engine, which has a thread of its own,
 * and writes the event file and the report. Lives on the thread that makes it, which needs an event
 * loop; every function is for that thread.
 */
class RunSession : public QObject
{
    Q_OBJECT

public:
    /** `terminal` is not owned and must outlive this object. */
    RunSession(const RunOptions& options, TerminalOutput& terminal, QObject* parent = nullptr);
    /** Waits until the engine has ended. */
    ~RunSession() override;

    /** Begins; once in the object's life. */
    void start();

public slots:
    /** Ends the run in order, once it has begun; finished() follows. Repeated calls do nothing. */
    void requestEnd();

signals:
    /** Once, with an ExitStatus, when everything is written and the port is closed. */
    void finished(int exitStatus);

private:
    BraskTestWorker* makeEngine();
    void startEngine();
    void onRunBegan();
    void onStoppedSending();
    void onLineLost();
    void onConnectionChanged(bool connected);
    void onErrorOccurred(const QString& error);
    void onLogMessage(const QString& type, const QString& message);
    // By value: the thread sanitizer cannot see that Qt hands a signal's argument over.
    void onStatisticsUpdated(TestStats stats);
    void onTestCompleted();

    QString openOutputs();
    void beginRun();
    void record(const QDateTime& time, const QString& type, const QString& message);
    void updateStatus();
    void flushPings();
    QString writeReports(const Verdict& verdict) const;
    void finish(int exitStatus);

    enum class Stage { Connecting, Running, Disconnecting };

    RunOptions options;
    TerminalOutput& output;
    PingLog pings;
    RunObserver observer; ///< told by the engine, in `thread`
    QThread thread;
    BraskTestWorker* worker; ///< lives in `thread` and is deleted there when that has finished

    Stage stage = Stage::Connecting;
    bool endRequested = false;
    bool recording = false; ///< from the run's begin to its end
    int exitStatus = 0;
    QString connectError; ///< what the engine said about the port it could not open

    RunOutcome outcome;
    EventWriter events;
    std::optional<LineErrors> lineErrors; ///< while the run lasts
    QElapsedTimer clock;                  ///< runs from the run's start
    QTimer statusTimer;
};
