#pragma once

#include "report/read/LinkSurvey.h"

/** What it is called: its tags, or without any its file. */
QString surveyLabel(const LinkSurvey& survey);

/** Which sizes the computer may have been too busy for, in a sentence; empty: none. */
QString hinderedText(const LinkSurvey& survey);

/** How much loss the second rate of `survey` may have: "at most 0.5 % loss". */
QString partialLossText(const LinkSurvey& survey);
