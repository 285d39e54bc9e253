#pragma once

#include "report/read/Run.h"

/** Most runs that are compared with each other in one picture; more are a batch. */
inline constexpr std::size_t mostOverlaid = 8;

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

/** The runs by their value of `tag`, those with the largest share of failures first. */
std::vector<Group> groupRuns(const std::vector<Run>& runs, const QString& tag);

/**
 * Puts `runs` into the order in which they are shown, a batch worst first, and labels each of them.
 * All labels differ: they are the values of the tag `by`, or, where `by` is empty, of those tags in
 * which the runs differ. Where that leaves two alike, they are the names or paths of the files.
 */
void arrangeRuns(std::vector<Run>& runs, const QString& by);
