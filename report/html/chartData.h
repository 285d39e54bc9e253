#pragma once

#include "report/read/LinkSurvey.h"
#include "report/read/Run.h"

#include <QJsonObject>

/** Most points that a run's time is shown by, in charts and tables. */
inline constexpr std::size_t mostIntervals = 400;

/** What the page's script draws for runs that are laid over each other. */
QJsonObject overlayData(const std::vector<Run>& runs);

/** What it draws for a batch: every run as one point, in the order of their start. */
QJsonObject batchData(const std::vector<Run>& runs);

/** What it draws for a survey. */
QJsonObject surveyData(const LinkSurvey& survey);
