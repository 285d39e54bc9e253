#pragma once

#include "report/read/LinkSurvey.h"

#include <QJsonObject>

/** The format of surveys that readSurvey() understands. */
inline constexpr int surveyFormat = 1;

/** The same for a report of a survey as readRun() is for one of a run. */
LinkSurvey readSurvey(const QJsonObject& report, QString& fault);
