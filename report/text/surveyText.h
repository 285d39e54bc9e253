#pragma once

#include "report/read/LinkSurvey.h"

/** What surveyPage() says, like textReport(). */
QString surveyText(const LinkSurvey& survey);
