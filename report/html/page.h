#pragma once

#include "report/read/Run.h"

/** Most runs whose charts are laid over each other; more are a batch. */
inline constexpr std::size_t mostOverlaid = 8;

/**
 * One HTML document on `runs`, of which there has to be one, that needs no other file and no
 * network. `by`, a tag, names the runs and groups a batch; empty: none.
 */
QString htmlPage(std::vector<Run> runs, const QString& by);
