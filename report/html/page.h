#pragma once

#include "report/read/Run.h"

/**
 * Returns a complete HTML page on `runs` that needs no other file and no network. `runs` must not
 * be empty and must have been arranged by arrangeRuns(). `by` is the tag by which a batch is
 * grouped; empty: none.
 */
QString htmlPage(const std::vector<Run>& runs, const QString& by);
