#pragma once

#include "simulator/FaultPlan.h"
#include "simulator/line/Answer.h"

/** Builds the answers of a module. Stateless functions; any thread. */
namespace moduleAnswers {

/** Code in an error reply: the reason for it. */
enum ErrorCode : quint8 {
    PingRefused = 0x01,    ///< the error reply sent in place of an echo
    UnknownRequest = 0x02, ///< no such request
    TooShort = 0x03,       ///< too few data bytes
};

/** Pause between the two pieces of a split answer, in milliseconds. */
inline constexpr int splitPauseMs = 15;

/** Returns the correct reply without data. */
Answer reply(quint8 request);
Answer errorReply(quint8 request, ErrorCode code);
/**
 * Returns the answer to a ping, with the faults in `plan`. `arrival` is the ping's place among the
 * pings that have arrived; `pingData` is its payload. The caller handles `plan.drop` and
 * `plan.delayUs`.
 */
Answer echo(quint64 arrival, const QByteArray& pingData, const PingDecisions& plan);

} // namespace moduleAnswers
