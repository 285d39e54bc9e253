#pragma once

#include "measure/PingRecord.h"

/** Is handed the pings of a run, in the order of their ids and without a gap. */
class PingSink
{
public:
    PingSink() = default;
    virtual ~PingSink() = default;
    PingSink(const PingSink&) = delete;
    PingSink& operator=(const PingSink&) = delete;

    /** On the engine's thread, whose work waits meanwhile. */
    virtual void pingEnded(const PingRecord& ping) = 0;
};
