#pragma once

#include "report/read/Run.h"

/** A figure and the range that chance alone could have moved it in; without one it is not judged.
 */
struct Ranged
{
    Figure value{};
    Figure low{}, high{};
};

enum class Difference { Reference, Better, Worse, Unclear, NotJudged };

/** One line of the table of differences; less is better in every one. */
struct ComparedFigure
{
    enum class Unit { Percent, Microseconds };

    QString name;
    Unit unit = Unit::Microseconds;
    std::vector<Ranged> values;          ///< one a run
    std::vector<Difference> differences; ///< of each run to the first; `Reference` for that one
};

/**
 * Holds each run against the first. Two figures differ when their ranges do not touch. A range is
 * two standard errors to both sides, for losses, p50 and the seconds' maxima from how up to twenty
 * equal stretches of the run differ; for the rarer latencies from the number of seconds that had
 * one as long, so that one bad moment counts once, however many pings it hit. Runs of fewer than
 * eight seconds have no ranges.
 */
std::vector<ComparedFigure> compareRuns(const std::vector<Run>& runs);

/** What the table's readers are told of the above. */
QString spreadExplanation();

/** Settings in which the runs are not alike, named; differences may come from these. */
QStringList differingSettings(const std::vector<Run>& runs);
