#pragma once

#include "report/read/LinkSurvey.h"

/** Returns the survey's label: its tags or, if there are none, its file name. */
QString surveyLabel(const LinkSurvey& survey);

/** Returns a sentence with the sizes for which the computer may have been too busy; empty: none. */
QString hinderedText(const LinkSurvey& survey);

/** Returns the allowed loss of the survey's second rate, for example "at most 0.5 % loss". */
QString partialLossText(const LinkSurvey& survey);
