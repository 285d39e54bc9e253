#pragma once

#include "report/read/Run.h"

/** What a figure of a run means, in one sentence, and where to look for the cause. */
struct Finding
{
    QString where; ///< "Line", "Module", "This computer", "Adapter" or "Settings"
    QString title;
    QString sentence;
};

/**
 * Returns everything that the run's figures show beyond its verdict; docs/report.md lists all
 * findings.
 */
std::vector<Finding> findings(const Run& run);
