#pragma once

#include "engine/TestStats.h"

#include <QDateTime>
#include <QJsonValue>
#include <QString>

/** What became of one run. A default record is that of a run not yet begun. */
struct RunOutcome
{
    TestStats stats;      ///< as the engine last reported
    QDateTime end;        ///< when the engine reported the run's end, local time
    qint64 sendingMs = 0; ///< from the start until the last ping could be sent; 0: not begun
    bool lineLost = false;
    QString outputFault;     ///< why the event file is incomplete; empty: it is not
    QJsonValue host{};       ///< see hostFacts()
    QJsonValue adapter{};    ///< see toJson(PortAdapter)
    QJsonValue lineErrors{}; ///< see LineErrors::sinceStart()
};
