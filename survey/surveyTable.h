#pragma once

#include "survey/SurveyOutcome.h"

#include <QString>

/** The answers as lines for a terminal, ASCII; what is not known is a dash. Pure. */
QString surveyTable(const SurveyOutcome& outcome, double partialLossPercent);
