#pragma once

#include "report/read/Run.h"

/** A figure with the range in which it may vary by chance; without a range it is not judged. */
struct Ranged
{
    Figure value{};
    Figure low{}, high{};
};

enum class Difference { Reference, Better, Worse, Unclear, NotJudged };

/** One row of the table of differences. In every row, less is better. */
struct ComparedFigure
{
    enum class Unit { Percent, Microseconds };

    QString name;
    Unit unit = Unit::Microseconds;
    std::vector<Ranged> values;          ///< one per run
    std::vector<Difference> differences; ///< of each run to the first; first: `Reference`
};

/**
 * Compares each run with the first. Two figures differ when their ranges do not overlap. A range is
 * two standard errors to both sides. For losses, p50 and the mean of the seconds' maxima, it comes
 * from the differences between up to twenty equal stretches of the run. For the rarer latencies, it
 * comes from the number of seconds that had such a long one, so that one disturbance counts once,
 * however many pings it affected. Runs of fewer than eight seconds have no ranges.
 */
std::vector<ComparedFigure> compareRuns(const std::vector<Run>& runs);

/** Returns the explanation of this for the readers of the table. */
QString spreadExplanation();

/**
 * Returns the names of the settings that are not the same in all runs; they may cause differences.
 */
QStringList differingSettings(const std::vector<Run>& runs);
