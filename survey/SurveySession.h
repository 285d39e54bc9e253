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
 * One survey from opening the port to closing it: makes the trials over one connection, prints the
 * table and writes the report, of a survey that ended early too. Lives on the thread that makes it,
 * which needs an event loop; every function is for that thread.
 */
class SurveySession : public QObject
{
    Q_OBJECT

public:
    /** `terminal` is not owned and must outlive this object. */
    SurveySession(const SurveyOptions& options, TerminalOutput& terminal,
                  QObject* parent = nullptr);

    /** Begins; once in the object's life. */
    void start();

public slots:
    /** Ends the survey with what is known; finished() follows. Repeated calls do nothing. */
    void requestEnd();

signals:
    /** Once, with an ExitStatus, when everything is written and the port is closed. */
    void finished(int exitStatus);

private:
    /** What the pings under way are for. */
    enum class Stage {
        Waking,    ///< to see whether the module answers at all
        Measuring, ///< a trial
        Asking,    ///< to see whether the module still answers, after a trial without an answer
        Listening, ///< none are sent, so that late echoes of a trial do not get into the next
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
    bool cutShort = false; ///< this trial
    int runMs = 0;         ///< length of the run under way
    int quietMs = 0;       ///< for how long nothing has been heard
    QTimer runTimer;
    QTimer statusTimer;
    QElapsedTimer listening; ///< runs since the trial's end
    QElapsedTimer sinceStart;
    quint64 echoesTaken = 0; ///< of the run under way
    SurveyMoment lastEcho;   ///< of whatever run, as far as the engine has told
    Trial silentTrial;       ///< the one that Stage::Asking follows
};
