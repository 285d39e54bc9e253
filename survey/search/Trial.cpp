#include "survey/search/Trial.h"

#include <algorithm>

bool Trial::keptRate() const
{
    return unsent <= std::max<quint64>(1, (sent + failed + unsent) / 100);
}

bool Trial::leftLate() const
{
    constexpr double leastUs = 2000;
    constexpr double quarterSecondUs = 250'000;
    return sendLagP99Us && *sendLagP99Us > std::max(leastUs, quarterSecondUs / packetsPerSecond);
}

bool Trial::isHindered() const
{
    return leftLate() || (!keptRate() && unsent > lost + failed);
}

double Trial::lossPercent() const
{
    const quint64 tried = sent + failed;
    return tried > 0 ? 100.0 * static_cast<double>(lost + failed) / static_cast<double>(tried)
                     : 100.0;
}

bool Trial::passes(double allowedLossPercent) const
{
    return !cutShort && keptRate() && lossPercent() <= allowedLossPercent;
}
