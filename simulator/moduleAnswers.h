#pragma once

#include "simulator/FaultPlan.h"
#include "simulator/line/Answer.h"

/** What a module sends. Stateless functions; any thread. */
namespace moduleAnswers {

/** Code of an error reply: why there is no other. */
enum ErrorCode : quint8 {
    PingRefused = 0x01,    ///< the error reply that stands in for an echo
    UnknownRequest = 0x02, ///< no such request
    TooShort = 0x03,       ///< data bytes are missing
};

/** Silence between the two pieces of a split answer, in milliseconds. */
inline constexpr int splitPauseMs = 15;

/** The faultless answer without data. */
Answer reply(quint8 request);
Answer errorReply(quint8 request, ErrorCode code);
/**
 * The answer to the ping that arrived at this place, with this payload, and all its faults;
 * `plan.drop` and `plan.delayUs` are the caller's.
 */
Answer echo(quint64 arrival, const QByteArray& pingData, const PingDecisions& plan);

} // namespace moduleAnswers
