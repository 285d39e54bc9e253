#pragma once

#include "command/Program.h"
#include "drive/EngineDriver.h"
#include "survey/SurveyOutcome.h"
#include "survey/search/Survey.h"
#include "survey/surveyOptions.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class TerminalOutput;

/**
 * One survey, from opening the port to closing it. It makes the trials over one connection, prints
 * the table and writes the report, also if the survey ended early. The object lives on the thread
 * that creates it, which needs an event loop. Call every function on that thread.
 */
class SurveySession : public QObject
{
    Q_OBJECT

public:
    /** `terminal` is not owned and must outlive this object. */
    SurveySession(const SurveyOptions& options, TerminalOutput& terminal,
                  QObject* parent = nullptr);

    /** Starts the survey; call it once per object. */
    void start();

public slots:
    /**
     * Ends the survey and keeps the results so far; finished() follows. Repeated calls do nothing.
     */
    void requestEnd();

signals:
    /** Emitted once, with an ExitStatus, when everything is written and the port is closed. */
    void finished(int exitStatus);

private:
    /** The purpose of the current run. */
    enum class Stage {
        Waking,    ///< to see whether the module answers at all, before the first trial
        Measuring, ///< a trial
        Asking,    ///< to see whether the module still answers, after a trial without an answer
        Listening, ///< no pings are sent, so that late echoes of one trial are not counted in the
                   ///< next
    };

    void listen();
    void onConnected();
    void onNotConnected(const QString& reason);
    void onRunBegan();
    void onStatsUpdated();
    void onLineLost();
    void onRunEnded();

    void ping(Stage forWhat, int sizeBytes, int packetsPerSecond, int lengthMs);
    void nextTrial();
    void askForAnswer(Stage forWhat);
    void waitForQuiet();
    void listenUntilQuiet();
    void afterWaking();
    void afterTrial();
    void afterAsking();
    void afterListening();
    void take(const Trial& trial);
    bool isHopeless() const;
    void report(const SizeResult& size);
    void updateStatus();

    void end(ExitStatus status, const QString& reason);
    bool writeResult();

    SurveyOptions options;
    TerminalOutput& output;
    EngineDriver engine;
    Survey survey;
    SurveyOutcome outcome;

    Stage stage = Stage::Waking;
    bool pinging = false; ///< from the request for a run to its end
    bool endRequested = false;
    bool lineIsLost = false;
    bool cutShort = false; ///< the current trial was ended early
    int runMs = 0;         ///< length of the current run
    int quietMs = 0;       ///< how long the line has been quiet
    QTimer runTimer;
    QTimer statusTimer;
    QElapsedTimer listening; ///< started at the end of the trial
    QElapsedTimer sinceStart;
    quint64 echoesTaken = 0; ///< echoes of the current run already counted
    SurveyMoment lastEcho;   ///< last echo of any run that the engine reported
    Trial silentTrial;       ///< the trial without an answer that led to Stage::Asking
};
