#pragma once

#include "survey/SurveyOutcome.h"

#include <QString>

/** Returns the results as a table for a terminal, in ASCII; unknown values are a dash. Pure. */
QString surveyTable(const SurveyOutcome& outcome, double partialLossPercent);
