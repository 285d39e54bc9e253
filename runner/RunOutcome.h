#pragma once

#include "engine/TestStats.h"
#include "measure/RunFigures.h"

#include <QDateTime>
#include <QJsonValue>
#include <QString>

/** What became of one run. A default record is that of a run not yet begun. */
struct RunOutcome
{
    TestStats stats;      ///< as the engine last reported
    RunFigures figures{}; ///< of the finished run
    qint64 lastedMs = 0;  ///< from the run's start to its end, final wait included; steady clock
    bool lineLost = false;
    QString outputFault{};   ///< first reason why one of its other files is incomplete; empty: none
    QJsonValue host{};       ///< see hostFacts()
    QJsonValue adapter{};    ///< see toJson(PortAdapter)
    QJsonValue lineErrors{}; ///< see LineErrors::sinceStart()

    /** Local time. */
    QDateTime start() const { return QDateTime::fromMSecsSinceEpoch(stats.startTime); }
    QDateTime end() const { return start().addMSecs(lastedMs); }
    /** From the start until the last ping could be sent; 0: not begun. */
    double sendingSeconds() const { return static_cast<double>(figures.sendingNs) / 1e9; }
};
