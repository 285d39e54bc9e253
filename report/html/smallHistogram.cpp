#include "report/html/smallHistogram.h"

#include "report/weigh/figureText.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int width = 96;
constexpr int height = 22;
constexpr int barWidth = 3;
constexpr int bars = width / barWidth;

} // namespace

SmallHistogram::SmallHistogram(const std::vector<Run>& runs)
{
    Figure least;
    Figure most;
    for (const Run& run : runs) {
        if (run.histogram.empty())
            continue;
        const double first = std::max(1.0, run.histogram.front().lowerUs);
        least = std::min(least.value_or(first), first);
        most = std::max(most, Figure(run.histogram.back().upperUs));
    }
    if (least && most) {
        shortest = *least;
        longest = std::max(*most, shortest * 2);
    }
}

QString SmallHistogram::svg(const Run& run) const
{
    std::array<double, bars> counts{};
    for (const LatencyBin& bin : run.histogram) {
        const double middle = std::sqrt(std::max(1.0, bin.lowerUs) * bin.upperUs);
        const double place = std::log(middle / shortest) / std::log(longest / shortest);
        counts.at(static_cast<std::size_t>(std::clamp(int(place * bars), 0, bars - 1))) +=
            static_cast<double>(bin.count);
    }
    const double highest = std::log1p(*std::max_element(counts.begin(), counts.end()));
    QString path;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts.at(i) <= 0)
            continue;
        const int tall = std::max(1, int(std::lround(height * std::log1p(counts.at(i)) / highest)));
        path += QStringLiteral("M%1 %2v-%3h2v%3z").arg(int(i) * barWidth).arg(height).arg(tall);
    }
    const QString name = run.histogram.empty() ? QStringLiteral("none")
                                               : QStringLiteral("%1 to %2")
                                                     .arg(latencyText(run.latencyUs.minimum),
                                                          latencyText(run.latencyUs.maximum));
    return QStringLiteral("<svg viewBox=\"0 0 %1 %2\" role=\"img\" aria-label=\"%3\"><path "
                          "d=\"%4\"/></svg>")
        .arg(width)
        .arg(height)
        .arg(name, path);
}
