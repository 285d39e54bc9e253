#pragma once

#include "report/read/LinkSurvey.h"

/** Returns the content of surveyPage() as plain text, like textReport(). */
QString surveyText(const LinkSurvey& survey);
