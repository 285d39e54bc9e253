#pragma once

#include "command/hostFacts.h"
#include "engine/TestStats.h"
#include "measure/RunFigures.h"
#include "port/LineErrors.h"
#include "port/portAdapter.h"

#include <QDateTime>
#include <QString>

/** What became of one run. A default record is that of a run not yet begun. */
struct RunOutcome
{
    TestStats stats;      ///< as the engine last reported
    RunFigures figures{}; ///< of the finished run
    qint64 lastedMs = 0;  ///< from the run's start to its end, final wait included; steady clock
    bool lineLost = false;
    QString outputFault{}; ///< first reason why one of its other files is incomplete; empty: none
    std::optional<HostFacts> host{};
    std::optional<PortAdapter> adapter{};
    std::optional<KnownLineErrors> lineErrors{};

    /** Local time. */
    QDateTime start() const { return QDateTime::fromMSecsSinceEpoch(stats.startTime); }
    QDateTime end() const { return start().addMSecs(lastedMs); }
    /** From the start until the last ping could be sent; 0: not begun. */
    double sendingSeconds() const { return static_cast<double>(figures.sendingNs) / 1e9; }
};
