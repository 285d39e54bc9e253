#pragma once

#include "report/read/Run.h"

/**
 * Returns the content of htmlPage() without its charts as plain text for a terminal; the arguments
 * are the same. Text from reports is made safe for terminals.
 */
QString textReport(const std::vector<Run>& runs, const QString& by);
