#pragma once

#include "report/read/Run.h"

/** What the runs with one value of a tag have come to. */
struct Group
{
    QString value; ///< of the tag; empty: the runs without it
    int runs = 0;
    int passed = 0;
    Figure worstLossPercent{};
    Figure middleP99Us{}; ///< half of its runs have a larger one
    Figure worstP99Us{};
};

/** How many of them ended so. */
qint64 countOf(const std::vector<Run>& runs, RunVerdict verdict);

/** Worst first: by verdict, then loss, then p99; runs alike stay in their order. */
void sortWorstFirst(std::vector<Run>& runs);

/** The runs by their value of `tag`, those with the largest share of failures first. */
std::vector<Group> groupRuns(const std::vector<Run>& runs, const QString& tag);

/**
 * A name for each run, all different: the values of the tag `by`, else of those tags in which the
 * runs differ; where that leaves two alike, the name or the path of the file.
 */
QStringList runLabels(const std::vector<Run>& runs, const QString& by);
