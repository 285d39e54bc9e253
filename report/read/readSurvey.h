#pragma once

#include "report/read/LinkSurvey.h"

#include <QJsonObject>

/** Reads a report of a survey; unknown members and `fault` as in readRun(). */
LinkSurvey readSurvey(const QJsonObject& report, QString& fault);
