#include "survey/search/trialLength.h"

#include "engine/lineCapacity.h"

#include <algorithm>
#include <cmath>

namespace {

/** Pings that even the shortest trial can send. */
constexpr double fewestPings = 3;
constexpr int shortestQuietMs = 300;

} // namespace

int trialMs(double seconds, int packetsPerSecond)
{
    return static_cast<int>(
        std::ceil(1000 * std::max(seconds, (fewestPings + 0.5) / packetsPerSecond)));
}

int quietMsFor(int sizeBytes, int baudRate)
{
    TestConfig config;
    config.minDataSize = config.maxDataSize = sizeBytes;
    const double frameMs = 1000 * meanFrameBytes(config) * bitsPerByte / baudRate;
    return std::max(shortestQuietMs, static_cast<int>(2 * frameMs));
}
