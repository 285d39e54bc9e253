#pragma once

#include <QString>

#include <array>

/** The outcome of a run as its report tells it, in the order of RunFormat::verdictWords. */
enum class RunVerdict { Passed, Failed, LineLost, OutputFailed, Disturbed };

/** What the writer and the readers of a run's report have to agree on; docs/runner.md has it all.
 */
namespace RunFormat {

/** Raised when readers of older reports would take something for what it is not. */
inline constexpr int number = 2;

inline QString program()
{
    return QStringLiteral("packetbrask-run");
}

inline constexpr std::array verdictWords{"passed", "failed", "lineLost", "outputFailed",
                                         "disturbed"};

/** Why pings were lost: members of `lossCauses`, and fates in the ping file. */
inline constexpr auto noEchoInTime = "noEchoInTime";
inline constexpr auto noEchoAtEnd = "noEchoAtEnd";
inline constexpr auto changedEcho = "changedEcho";

/** Values of `timing`. */
inline constexpr auto exactTiming = "exact";
inline constexpr auto windowTiming = "window";

} // namespace RunFormat
