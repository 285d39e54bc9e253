#pragma once

#include "report/LinkSurvey.h"

/** What surveyPage() says, like textReport(). */
QString surveyText(const LinkSurvey& survey);
