#pragma once

#include "simulator/FaultPlan.h"

/**
 * The correct frames that a module sends in answer to pings when nothing gets lost on the way;
 * garbage and frames with a wrong CRC are none. Worked out from the decisions alone, so that the
 * module's own counts are not what vouches for them.
 */
struct AnswerForecast
{
    quint64 echoes = 0;       ///< changed ones and second copies included
    quint64 repeats = 0;      ///< the second copies among them
    quint64 intact = 0;       ///< pings with a faultless echo
    quint64 errorReplies = 0; ///< second copies included
    quint64 reports = 0;

    /** For the next `pings` of the sequence, which goes on behind them. */
    static AnswerForecast of(FaultPlan& sequence, quint64 pings);
};
