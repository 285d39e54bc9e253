#include "measure/LatencyHistogram.h"

#include <boost/histogram.hpp>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

namespace bh = boost::histogram;

constexpr double shortestUs = 1;
constexpr double longestUs = 30e6;
constexpr unsigned binCount = 870; ///< ln(longest / shortest) / ln(1.02), rounded up

using Axis = bh::axis::regular<double, bh::axis::transform::log>;

} // namespace

/** Kept out of the header: Boost takes long to compile. */
struct LatencyHistogram::Counts
{
    bh::histogram<std::tuple<Axis>, bh::dense_storage<quint64>> byBin = bh::make_histogram_with(
        bh::dense_storage<quint64>(), Axis(binCount, shortestUs, longestUs));
};

LatencyHistogram::LatencyHistogram() : counts(std::make_unique<Counts>()) {}
LatencyHistogram::~LatencyHistogram() = default;
LatencyHistogram::LatencyHistogram(LatencyHistogram&&) noexcept = default;
LatencyHistogram& LatencyHistogram::operator=(LatencyHistogram&&) noexcept = default;

void LatencyHistogram::add(qint64 timeNs)
{
    const double timeUs = static_cast<double>(std::max<qint64>(timeNs, 0)) / 1000;
    counts->byBin(timeUs);
    least = total == 0 ? timeUs : std::min(least, timeUs);
    greatest = std::max(greatest, timeUs);
    // Welford's method, because a plain sum of squares would lose the small differences in a long
    // run.
    ++total;
    const double distance = timeUs - mean;
    mean += distance / static_cast<double>(total);
    squares += distance * (timeUs - mean);
}

void LatencyHistogram::merge(const LatencyHistogram& other)
{
    if (other.total == 0)
        return;
    auto& byBin = counts->byBin;
    std::transform(byBin.begin(), byBin.end(), other.counts->byBin.begin(), byBin.begin(),
                   std::plus());
    least = total == 0 ? other.least : std::min(least, other.least);
    greatest = std::max(greatest, other.greatest);
    const auto before = static_cast<double>(total);
    const auto added = static_cast<double>(other.total);
    const double distance = other.mean - mean;
    total += other.total;
    mean += distance * added / (before + added);
    squares += other.squares + distance * distance * before * added / (before + added);
}

void LatencyHistogram::clear()
{
    if (total == 0)
        return;
    counts->byBin.reset();
    total = 0;
    least = greatest = mean = squares = 0;
}

double LatencyHistogram::standardDeviationUs() const
{
    return total == 0 ? 0 : std::sqrt(squares / static_cast<double>(total));
}

std::optional<double> LatencyHistogram::percentileUs(double q) const
{
    const double wanted = q * static_cast<double>(total);
    double below = 0;
    for (const auto& bin : bh::indexed(counts->byBin, bh::coverage::all)) {
        const auto here = static_cast<double>(*bin);
        if (here > 0 && below + here >= wanted) {
            const double lowerUs = bin.bin(0).lower();
            const double upperUs = std::min(bin.bin(0).upper(), greatest);
            return std::clamp(lowerUs + (upperUs - lowerUs) * (wanted - below) / here, least,
                              greatest);
        }
        below += here;
    }
    return std::nullopt;
}

std::vector<LatencyHistogram::Bin> LatencyHistogram::bins() const
{
    std::vector<Bin> filled;
    for (const auto& bin : bh::indexed(counts->byBin, bh::coverage::all)) {
        const double upperUs = bin.bin(0).upper();
        if (*bin > 0)
            filled.push_back({bin.bin(0).lower(), std::isinf(upperUs) ? greatest : upperUs, *bin});
    }
    return filled;
}
