#include "simulator/line/LinePacer.h"

#include "link/lineRates.h"

#include <limits>

namespace {

constexpr qint64 usPerSecond = 1'000'000;

} // namespace

void LinePacer::begin()
{
    if (clock.isValid())
        return;
    moved = 0;
    clock.start();
}

qsizetype LinePacer::allowance() const
{
    if (!isPaced())
        return std::numeric_limits<qsizetype>::max();
    const qint64 elapsedUs = clock.nsecsElapsed() / 1000;
    return elapsedUs * baudRate / (bitsPerByte * usPerSecond) - moved;
}
