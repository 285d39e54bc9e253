#pragma once

#include "command/hostFacts.h"
#include "engine/TestStats.h"
#include "measure/RunFigures.h"
#include "port/LineErrors.h"
#include "port/portAdapter.h"

#include <QDateTime>
#include <QString>

/** The outcome of one run. A default record is that of a run that has not begun. */
struct RunOutcome
{
    TestStats stats;      ///< last values that the engine reported
    RunFigures figures{}; ///< of the finished run
    qint64 lastedMs = 0;  ///< from start to end, final wait included; steady clock
    bool lineLost = false;
    QString outputFault{}; ///< first reason why another output file is incomplete; empty: none
    std::optional<HostFacts> host{};
    std::optional<PortAdapter> adapter{};
    std::optional<KnownLineErrors> lineErrors{};

    /** Start and end are in local time. */
    QDateTime start() const { return QDateTime::fromMSecsSinceEpoch(stats.startTime); }
    QDateTime end() const { return start().addMSecs(lastedMs); }
    /** Time from the start until sending ended; 0: the run has not begun. */
    double sendingSeconds() const { return static_cast<double>(figures.sendingNs) / 1e9; }
};
