#pragma once

#include "survey/SurveyOutcome.h"
#include "survey/surveyOptions.h"

#include <QJsonObject>

/** The report of a survey, ended early or not; docs/survey.md lists its fields. Pure. */
QJsonObject surveyReport(const SurveyOptions& options, const SurveyOutcome& outcome);
