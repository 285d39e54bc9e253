#pragma once

#include "survey/SurveyOutcome.h"
#include "survey/surveyOptions.h"

#include <QJsonObject>

/**
 * Returns the report of a survey, complete or ended early; docs/survey.md lists its fields. Pure.
 */
QJsonObject surveyReport(const SurveyOptions& options, const SurveyOutcome& outcome);
