#pragma once

#include <QString>

/** What writer and readers of a survey's report have to agree on; docs/survey.md has it all. */
namespace SurveyFormat {

/** Raised when readers of older reports would take something for what it is not. */
inline constexpr int number = 1;

/** The value of `kind`, which the reports of runs do not have. */
inline constexpr auto kind = "survey";

inline QString program()
{
    return QStringLiteral("packetbrask-survey");
}

} // namespace SurveyFormat
