#pragma once

#include "report/read/Run.h"

/** What a figure of a run means, in one sentence, and where to look first. */
struct Finding
{
    QString where; ///< "Line", "Module", "This computer", "Adapter" or "Settings"
    QString title;
    QString sentence;
};

/** Everything that the run's figures tell beyond its verdict; docs/report.md lists it all. */
std::vector<Finding> findings(const Run& run);
