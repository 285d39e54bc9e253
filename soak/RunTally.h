#pragma once

#include "engine/TestStats.h"

#include <QList>
#include <QString>

/** One line of the engine. */
struct EngineLine
{
    QString type;
    QString message;

    bool operator==(const EngineLine&) const = default;
};

/** What an engine has said of one run. Plain value. */
struct RunTally
{
    QList<EngineLine> lines; ///< from "Test started" to the summary, both included
    TestStats stats;         ///< the last ones published
    int completions = 0;     ///< how often the end of the run was announced
    QString disorder; ///< the first thing that contradicted itself on the way; empty: nothing

    // How often each kind of line came.
    quint64 failedSends = 0;
    quint64 mismatches = 0;
    quint64 unknownIds = 0;
    quint64 shortEchoes = 0;
    quint64 errorReplies = 0;
    quint64 reports = 0;
    quint64 unexpected = 0;

    void addLine(const QString& type, const QString& message);
    void addStats(const TestStats& published);
    bool hasStarted() const { return !lines.isEmpty(); }
    bool waitsForReplies() const { return waiting; }
    /** Echoes of any kind that the engine has taken in. */
    quint64 echoesTaken() const
    {
        return stats.packetsReceived + mismatches + unknownIds + shortEchoes;
    }

private:
    bool waiting = false;
};
