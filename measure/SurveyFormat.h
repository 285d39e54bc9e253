#pragma once

#include <QString>

/**
 * What the writer and the readers of a survey's report share; docs/survey.md describes the whole
 * format.
 */
namespace SurveyFormat {

/** Format number; it is raised when a reader of the old format would misread the new one. */
inline constexpr int number = 1;

/** The value of `kind`; reports of runs have no such member. */
inline constexpr auto kind = "survey";

inline QString program()
{
    return QStringLiteral("packetbrask-survey");
}

} // namespace SurveyFormat
