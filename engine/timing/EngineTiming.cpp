#include "engine/timing/EngineTiming.h"

#include "engine/timing/ExactTiming.h"
#include "engine/timing/WindowTiming.h"

std::unique_ptr<EngineTiming> makeTiming(TimingKind kind)
{
    if (kind == TimingKind::Exact)
        return std::make_unique<ExactTiming>();
    return std::make_unique<WindowTiming>();
}
