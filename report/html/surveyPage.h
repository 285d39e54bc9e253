#pragma once

#include "report/read/LinkSurvey.h"

/** One HTML document on a survey, like htmlPage(). */
QString surveyPage(const LinkSurvey& survey);
