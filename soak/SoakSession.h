#pragma once

#include "simulator/ModuleThread.h"
#include "soak/RunJudgement.h"
#include "soak/SessionPlan.h"

#include <QObject>
#include <QString>

#include <array>
#include <memory>

class EngineDriver;

/** Sums over all that a soak has done. */
struct SoakTotals
{
    quint64 sessions = 0;
    quint64 connections = 0;
    quint64 refusedConnections = 0;
    quint64 unplugs = 0;
    quint64 stalls = 0;
    quint64 runs = 0;
    quint64 sent = 0;
    quint64 received = 0;
    quint64 lost = 0;
    quint64 failedSends = 0;
    quint64 eventRows = 0;
    quint64 framesUnread = 0; ///< with an excuse
    std::array<quint64, accountNames.size()> runsByAccount{};
};

/**
 * Plays one session, module included, and judges each of its runs. On the thread of the engine's
 * driver.
 */
class SoakSession : public QObject
{
    Q_OBJECT

public:
    /** Neither is owned. The line is linked, and event files are made, in `directory`. */
    SoakSession(EngineDriver& driver, const QString& directory, SoakTotals& sums);

    /** What went wrong; empty: nothing. Afterwards there is neither connection nor module. */
    QStringList play(const SessionPlan& plan);

private:
    void plugIn(const ModuleFaults& settings);
    void unplug();
    void stall();
    bool connectEngine(int baudRate);
    void disconnectEngine();
    void replug(const SessionPlan& plan);
    void startUnconnected();

    void playRun(const RunPlan& plan, int baudRate);
    void playAside(Aside aside, int baudRate);
    void playEnding(const RunPlan& plan);
    void watchFinalWait();
    void judge();
    bool allPingsArrive();
    void complain(const QString& about);

    EngineDriver& engine;
    SoakTotals& totals;
    QString directory;
    QString linkPath;
    QStringList complaints;

    ModuleFaults faults;
    std::unique_ptr<ModuleThread> module; ///< kept after it was unplugged, for its counts
    std::unique_ptr<FaultPlan> sequence;  ///< as far as the module's pings have come
    /** The line works and holds nothing of an earlier run that could turn up in the next one. */
    bool lineIsGood = false;

    // Of the run under way.
    bool lineWasCut = false;
    ModuleCounts before;     ///< the module's counts when it began
    ModuleCounts lastSeen;   ///< and at the last look during the final wait
    qint64 lastChangeMs = 0; ///< when they were last seen to have changed; steady clock
};
