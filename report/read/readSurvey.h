#pragma once

#include "report/read/LinkSurvey.h"

#include <QJsonObject>

/** The same for a report of a survey as readRun() is for one of a run. */
LinkSurvey readSurvey(const QJsonObject& report, QString& fault);
