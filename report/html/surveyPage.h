#pragma once

#include "report/read/LinkSurvey.h"

/** Returns a complete HTML page on a survey, like htmlPage(). */
QString surveyPage(const LinkSurvey& survey);
