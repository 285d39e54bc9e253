#pragma once

#include <QString>

#include <array>

/** The outcome of a run in its report, in the order of RunFormat::verdictWords. */
enum class RunVerdict { Passed, Failed, LineLost, OutputFailed, Disturbed };

/**
 * What the writer and the readers of a run's report share; docs/runner.md describes the whole
 * format.
 */
namespace RunFormat {

/** Format number; it is raised when a reader of the old format would misread the new one. */
inline constexpr int number = 2;

inline QString program()
{
    return QStringLiteral("packetbrask-run");
}

inline constexpr std::array verdictWords{"passed", "failed", "lineLost", "outputFailed",
                                         "disturbed"};

/** Causes of lost pings: members of `lossCauses`, and values in the ping file. */
inline constexpr auto noEchoInTime = "noEchoInTime";
inline constexpr auto noEchoAtEnd = "noEchoAtEnd";
inline constexpr auto changedEcho = "changedEcho";

/** Values of `timing`. */
inline constexpr auto exactTiming = "exact";
inline constexpr auto windowTiming = "window";

} // namespace RunFormat
