#pragma once

#include "engine/TestStats.h"

#include <QObject>
#include <QStringList>

class BraskTestWorker;

/**
 * All that an engine reports, as one sequence of lines: "TYPE: message", "error: ...",
 * "connected", "disconnected", "ports", "statistics SENT/RECEIVED/LOST" and "completed".
 * Live in the engine's thread, or where its queued signals are delivered.
 */
class EngineRecord : public QObject
{
    Q_OBJECT

public:
    explicit EngineRecord(BraskTestWorker* worker);

    /** What came since the last take. */
    QStringList take();

    QStringList lines;
    TestStats stats; ///< the last ones reported
    int completed = 0;
};
