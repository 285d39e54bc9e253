#pragma once

#include "soak/EngineBench.h"

#include <QStringList>

/** What a soak has done and what went wrong. */
struct SoakRecord
{
    QMap<QString, quint64> totals; ///< by what was counted
    QStringList disagreements;     ///< empty: nothing is wrong

    void check(bool holds, const QString& rule)
    {
        if (!holds)
            disagreements += rule;
    }
};

/**
 * Holds the engine's word on each ping against the module's. What excuses a difference is never
 * assumed: it must have been seen. True when nothing of the run is still to come.
 */
bool judgeRun(const RunAccount& run, SoakRecord& record);
/** Holds the event file `path` against the run. */
void judgeEventFile(const QString& path, const RunAccount& run, SoakRecord& record);
