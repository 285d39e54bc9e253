#pragma once

#include "report/read/Run.h"

/**
 * What the page says, as plain lines for a terminal, without its charts. Like htmlPage(); texts
 * from reports cannot steer the terminal.
 */
QString textReport(const std::vector<Run>& runs, const QString& by);
