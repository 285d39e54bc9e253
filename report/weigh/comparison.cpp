#include "report/weigh/comparison.h"

#include "report/weigh/distribution.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

constexpr std::size_t fewestSeconds = 8;
constexpr std::size_t mostStretches = 20;
constexpr double standardErrors = 2;

/** The contribution of a stretch of seconds to a figure that is a quotient of two sums. */
struct Share
{
    double part = 0;
    double whole = 0;
};

/** Returns the quotient over all seconds, with a range computed from the stretches' deviations. */
Ranged quotient(const std::vector<Interval>& seconds,
                const std::function<Share(const Interval&)>& of)
{
    const std::size_t stretches = std::min(seconds.size(), mostStretches);
    std::vector<Share> shares(stretches);
    Share sum;
    for (std::size_t i = 0; i < seconds.size(); ++i) {
        const Share share = of(seconds[i]);
        Share& stretch = shares[i * stretches / seconds.size()];
        stretch.part += share.part;
        stretch.whole += share.whole;
        sum.part += share.part;
        sum.whole += share.whole;
    }
    if (sum.whole <= 0)
        return {};
    const double value = sum.part / sum.whole;
    if (seconds.size() < fewestSeconds)
        return {value};
    double squares = 0;
    for (const Share& share : shares)
        squares += std::pow(share.part - value * share.whole, 2);
    const auto count = static_cast<double>(stretches);
    const double error = standardErrors * std::sqrt(squares * count / (count - 1)) / sum.whole;
    return {value, std::max(0.0, value - error), value + error};
}

Ranged loss(const Run& run)
{
    Ranged ranged = quotient(run.seconds, [](const Interval& second) {
        return Share{100.0 * static_cast<double>(second.lost), static_cast<double>(second.sent)};
    });
    ranged.value = run.lossPercent();
    // Without a loss, this is the upper limit with 95 % confidence.
    if (ranged.high && run.lost == 0)
        ranged.high = 100 * 3.0 / static_cast<double>(run.sent);
    return ranged;
}

Ranged meanOfSeconds(const Run& run, Figure Interval::*figure)
{
    return quotient(run.seconds, [figure](const Interval& second) {
        const Figure& value = second.*figure;
        return value ? Share{*value, 1} : Share{};
    });
}

/** Returns the run's p50 with the range of the mean of the seconds' p50, shifted to the p50. */
Ranged median(const Run& run)
{
    Ranged ranged = meanOfSeconds(run, &Interval::p50Us);
    const Figure shift = run.latencyUs.p50 && ranged.value
                             ? Figure(*run.latencyUs.p50 - *ranged.value)
                             : std::nullopt;
    ranged.value = run.latencyUs.p50;
    if (!shift || !ranged.low || !ranged.high)
        return {ranged.value};
    return {ranged.value, std::max(0.0, *ranged.low + *shift), *ranged.high + *shift};
}

/**
 * Returns the share of the round trips that may have taken `us` or longer, as far as the bins tell.
 */
double shareReaching(const Run& run, double us)
{
    double reaching = 0;
    for (const LatencyBin& bin : run.histogram)
        if (bin.upperUs > us)
            reaching += static_cast<double>(bin.count);
    return reaching / static_cast<double>(std::max<qint64>(1, run.timed()));
}

/**
 * Returns a rare latency with its range. Slow pings in one second count as one event, because they
 * may have one cause.
 */
Ranged rareLatency(const Run& run, const Figure& value, double share)
{
    if (!value || run.seconds.size() < fewestSeconds)
        return {value};
    const auto seconds =
        std::count_if(run.seconds.begin(), run.seconds.end(),
                      [&](const Interval& second) { return second.maximumUs >= value; });
    const double rare = std::max(1 - share, shareReaching(run, *value));
    const double events = std::max(
        1.0, std::min(rare * static_cast<double>(run.timed()), static_cast<double>(seconds)));
    const double error = rare * standardErrors / std::sqrt(events);
    return {value, std::min(value, latencyAtShare(run, share - error)),
            std::max(value, share + error < 1 ? latencyAtShare(run, share + error)
                                              : run.latencyUs.maximum)};
}

Difference difference(const Ranged& reference, const Ranged& other)
{
    if (!reference.low || !other.low || !reference.high || !other.high)
        return Difference::NotJudged;
    if (*other.high < *reference.low)
        return Difference::Better;
    return *other.low > *reference.high ? Difference::Worse : Difference::Unclear;
}

} // namespace

std::vector<ComparedFigure> compareRuns(const std::vector<Run>& runs)
{
    using Unit = ComparedFigure::Unit;
    struct Row
    {
        const char* name;
        Unit unit;
        std::function<Ranged(const Run&)> figure;
    };
    const auto rare = [](Figure Latencies::*figure, double share) {
        return [=](const Run& run) { return rareLatency(run, run.latencyUs.*figure, share); };
    };
    const auto slowest = [](const Run& run) { return meanOfSeconds(run, &Interval::maximumUs); };
    const std::vector<Row> rows{
        {"Pings lost", Unit::Percent, loss},
        {"p50, half took longer", Unit::Microseconds, median},
        {"p90, 1 in 10 took longer", Unit::Microseconds, rare(&Latencies::p90, 0.9)},
        {"p99, 1 in 100 took longer", Unit::Microseconds, rare(&Latencies::p99, 0.99)},
        {"p99.9, 1 in 1000 took longer", Unit::Microseconds, rare(&Latencies::p999, 0.999)},
        {"Slowest ping of a second, mean", Unit::Microseconds, slowest},
        {"Longest round trip", Unit::Microseconds,
         [](const Run& run) { return Ranged{run.latencyUs.maximum}; }},
        {"Pings sent late, p99", Unit::Microseconds,
         [](const Run& run) { return Ranged{run.sendLagP99Us}; }},
    };
    std::vector<ComparedFigure> figures;
    for (const Row& row : rows) {
        ComparedFigure& figure = figures.emplace_back();
        figure.name = QLatin1String(row.name);
        figure.unit = row.unit;
        for (const Run& run : runs) {
            figure.values.push_back(row.figure(run));
            figure.differences.push_back(
                &run == &runs.front() ? Difference::Reference
                                      : difference(figure.values.front(), figure.values.back()));
        }
    }
    return figures;
}

QString spreadExplanation()
{
    return QStringLiteral(
        "Each run is held against the first. A figure is marked only when its range and that of "
        "the first run do not touch. The range, in small print, is what chance alone may do in one "
        "run: two standard errors to both sides. For losses, p50 and the slowest of a second it "
        "comes from cutting the run's seconds into up to 20 equal stretches and looking how much "
        "these differ; for p90, p99 and p99.9 from the number of seconds in which a ping took that "
        "long, so that one bad moment counts once, however many pings it hit. The longest round "
        "trip and the lateness of pings have no range and are never marked, and neither are runs "
        "of less than 8 seconds. Every run has a range of its own, but no run tells what the next "
        "plugging in of the same cable would do: repeat runs to know that.");
}

QStringList differingSettings(const std::vector<Run>& runs)
{
    struct Setting
    {
        const char* name;
        double (*value)(const Run&);
    };
    const std::vector<Setting> settings{
        {"baud rate", [](const Run& run) { return double(run.settings.baudRate); }},
        {"ping rate", [](const Run& run) { return double(run.settings.packetsPerSecond); }},
        {"smallest payload", [](const Run& run) { return double(run.settings.minDataSizeBytes); }},
        {"largest payload", [](const Run& run) { return double(run.settings.maxDataSizeBytes); }},
        {"time-out", [](const Run& run) { return double(run.settings.timeoutMs); }},
        {"writing on the module's screen",
         [](const Run& run) { return double(run.settings.moduleScreen); }},
        {"way of timing", [](const Run& run) { return double(run.exactTiming); }},
        {"loop-back plug", [](const Run& run) { return double(run.settings.loopback); }},
        {"adapter's latency timer",
         [](const Run& run) {
             return run.adapter ? run.adapter->latencyTimerMs.value_or(-1) : -1;
         }},
    };
    QStringList names;
    for (const Setting& setting : settings) {
        const auto differs = [&](const Run& run) {
            return setting.value(run) != setting.value(runs.front());
        };
        if (std::any_of(runs.begin(), runs.end(), differs))
            names += QLatin1String(setting.name);
    }
    const auto hasOtherPayload = [&](const Run& run) {
        return run.settings.payload != runs.front().settings.payload;
    };
    if (std::any_of(runs.begin(), runs.end(), hasOtherPayload))
        names += QStringLiteral("payload");
    return names;
}
