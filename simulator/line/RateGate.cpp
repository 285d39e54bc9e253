#include "simulator/line/RateGate.h"

#include <algorithm>

namespace {

constexpr qint64 secondNs = 1'000'000'000;

} // namespace

bool RateGate::passes(qint64 atNs)
{
    if (rate == 0)
        return true;
    if (atNs + toleranceNs < turnNs)
        return false;
    turnNs = std::max(turnNs, atNs) + secondNs / rate;
    return true;
}
