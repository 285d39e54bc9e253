#include "report/html/chartData.h"

#include "report/weigh/distribution.h"
#include "report/weigh/figureText.h"
#include "report/weigh/timeline.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

QJsonValue rounded(const Figure& value)
{
    return value ? QJsonValue(std::round(*value * 1000) / 1000) : QJsonValue();
}

QJsonArray timeRows(const Run& run)
{
    QJsonArray rows;
    for (const Interval& interval : timeline(run.seconds, mostIntervals)) {
        const auto perSecond = [&interval](qint64 count) {
            return interval.length > 0 ? Figure(static_cast<double>(count) / interval.length)
                                       : std::nullopt;
        };
        rows += QJsonArray{rounded(interval.start),
                           rounded(perSecond(interval.sent)),
                           rounded(perSecond(interval.received)),
                           interval.lost,
                           rounded(interval.p50Us),
                           rounded(interval.maximumUs)};
    }
    return rows;
}

} // namespace

QJsonObject overlayData(const std::vector<Run>& runs, const QStringList& labels)
{
    QJsonArray all;
    for (const Run& run : runs) {
        QJsonArray bins;
        for (const LatencyBin& bin : coarseHistogram(run.histogram))
            bins += QJsonArray{rounded(bin.lowerUs), rounded(bin.upperUs), bin.count};
        QJsonArray tail;
        for (const TailPoint& point : latencyTail(run))
            tail += QJsonArray{rounded(point.oneIn), rounded(point.us)};
        all += QJsonObject{{"label", labels[all.size()]},
                           {"timed", run.timed()},
                           {"bins", bins},
                           {"tail", tail},
                           {"time", timeRows(run)}};
    }
    return {{"runs", all}};
}

QJsonObject batchData(const std::vector<Run>& runs, const QStringList& labels)
{
    std::vector<qsizetype> order(runs.size());
    std::iota(order.begin(), order.end(), 0);
    const auto start = [&runs](qsizetype index) {
        return runs[static_cast<std::size_t>(index)].start;
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](qsizetype one, qsizetype other) { return start(one) < start(other); });
    QJsonArray points;
    for (const qsizetype index : order) {
        const Run& run = runs[static_cast<std::size_t>(index)];
        points += QJsonArray{labels[index], run.verdict == RunVerdict::Passed,
                             rounded(run.lossPercent()), rounded(run.latencyUs.p99)};
    }
    return {{"batch", points}};
}
