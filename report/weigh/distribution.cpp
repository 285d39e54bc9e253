#include "report/weigh/distribution.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double binsPerDecade = 16;

int coarseIndex(const LatencyBin& bin)
{
    const double middle = std::sqrt(std::max(bin.lowerUs, 1.0) * std::max(bin.upperUs, 1.0));
    return static_cast<int>(std::floor(std::log10(middle) * binsPerDecade));
}

} // namespace

std::vector<LatencyBin> coarseHistogram(const std::vector<LatencyBin>& histogram)
{
    std::vector<LatencyBin> bins;
    int last = -1;
    for (const LatencyBin& bin : histogram) {
        const int index = coarseIndex(bin);
        if (bins.empty() || index != last)
            bins.push_back({std::pow(10, index / binsPerDecade),
                            std::pow(10, (index + 1) / binsPerDecade), 0});
        bins.back().count += bin.count;
        last = index;
    }
    return bins;
}

std::vector<TailPoint> latencyTail(const Run& run)
{
    constexpr double nextPoint = 1.02; // closer points cannot be distinguished in a chart
    std::vector<TailPoint> tail;
    const auto timed = static_cast<double>(run.timed());
    double above = timed;
    for (const LatencyBin& bin : run.histogram) {
        above -= static_cast<double>(bin.count);
        const double oneIn = above > 0 ? timed / above : timed;
        if (above > 0 && !tail.empty() && oneIn < tail.back().oneIn * nextPoint)
            continue;
        if (!tail.empty() && tail.back().oneIn >= oneIn)
            tail.pop_back();
        tail.push_back(
            {oneIn, above > 0 ? bin.upperUs : run.latencyUs.maximum.value_or(bin.upperUs)});
    }
    return tail;
}

Figure latencyAtShare(const Run& run, double share)
{
    const double wanted = std::clamp(share, 0.0, 1.0) * static_cast<double>(run.timed());
    double below = 0;
    for (const LatencyBin& bin : run.histogram) {
        const auto count = static_cast<double>(bin.count);
        if (below + count >= wanted)
            return bin.lowerUs + (bin.upperUs - bin.lowerUs) * (wanted - below) / count;
        below += count;
    }
    return std::nullopt;
}
