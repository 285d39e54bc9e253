#include "report/weigh/timeline.h"

#include <algorithm>
#include <array>

namespace {

Interval together(const Interval* first, const Interval* end)
{
    Interval sum{.start = first->start};
    std::vector<double> middles;
    for (const Interval* second = first; second != end; ++second) {
        sum.length += second->length;
        sum.sent += second->sent;
        sum.received += second->received;
        sum.lost += second->lost;
        if (second->maximumUs)
            sum.maximumUs = std::max(sum.maximumUs.value_or(0), *second->maximumUs);
        if (second->p50Us)
            middles.push_back(*second->p50Us);
    }
    if (!middles.empty()) {
        const auto middle = middles.begin() + static_cast<std::ptrdiff_t>(middles.size() / 2);
        std::nth_element(middles.begin(), middle, middles.end());
        sum.p50Us = *middle;
    }
    return sum;
}

} // namespace

std::vector<Interval> timeline(const std::vector<Interval>& seconds, std::size_t most)
{
    constexpr std::array<std::size_t, 7> roundSteps{1, 2, 5, 10, 20, 30, 60};
    const std::size_t needed = (seconds.size() + most - 1) / most;
    const auto* round = std::lower_bound(roundSteps.begin(), roundSteps.end(), needed);
    const std::size_t step = round == roundSteps.end() ? needed : *round;
    std::vector<Interval> intervals;
    for (std::size_t at = 0; at < seconds.size(); at += step)
        intervals.push_back(
            together(&seconds[at], seconds.data() + std::min(at + step, seconds.size())));
    return intervals;
}
