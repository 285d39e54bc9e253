#pragma once

#include "report/read/Run.h"

/**
 * One HTML document that needs no other file and no network. `runs` are not empty, and arranged by
 * arrangeRuns(). `by` is the tag that groups a batch; empty: none.
 */
QString htmlPage(const std::vector<Run>& runs, const QString& by);
