#pragma once

#include "report/read/LinkSurvey.h"
#include "report/read/Run.h"

#include <QJsonObject>

/** Largest number of points on the time axis of a run, in charts and tables. */
inline constexpr std::size_t mostIntervals = 400;

/** Returns the data that the page's script draws for runs in one chart. */
QJsonObject overlayData(const std::vector<Run>& runs);

/** Returns the data for a batch: one point per run, in the order of their start. */
QJsonObject batchData(const std::vector<Run>& runs);

/** Returns the data for a survey. */
QJsonObject surveyData(const LinkSurvey& survey);
