#pragma once

#include "report/read/Run.h"

/** Largest number of runs shown in one chart; more runs are a batch. */
inline constexpr std::size_t mostOverlaid = 8;

/** The results of the runs with one value of a tag. */
struct Group
{
    QString value; ///< the tag's value; empty: the runs without the tag
    int runs = 0;
    int passed = 0;
    Figure worstLossPercent{};
    Figure middleP99Us{}; ///< median of the runs' p99; the upper one of two
    Figure worstP99Us{};
};

/** Returns the number of runs with this verdict. */
qint64 countOf(const std::vector<Run>& runs, RunVerdict verdict);

/**
 * Groups the runs by their value of `tag`. The groups with the largest share of runs that did not
 * pass come first.
 */
std::vector<Group> groupRuns(const std::vector<Run>& runs, const QString& tag);

/**
 * Sorts a batch worst first and keeps the order of fewer runs. Labels each run: with its value of
 * the tag `by` or, if `by` is empty, with its values of all tags in which the runs differ. If two
 * of these labels are equal or one is empty, the labels are the file names or, if two of these are
 * equal, the paths.
 */
void arrangeRuns(std::vector<Run>& runs, const QString& by);
