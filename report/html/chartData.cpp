#include "report/html/chartData.h"

#include "report/weigh/distribution.h"
#include "report/weigh/surveyWords.h"
#include "report/weigh/timeline.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>

namespace {

QJsonValue rounded(const Figure& value)
{
    return value ? QJsonValue(std::round(*value * 1000) / 1000) : QJsonValue();
}

/** Returns the rows of a table and the column names that the page's script uses. */
QJsonObject table(const QStringList& columns, const QJsonArray& rows)
{
    return {{"columns", QJsonArray::fromStringList(columns)}, {"rows", rows}};
}

QJsonObject binTable(const Run& run)
{
    QJsonArray rows;
    for (const LatencyBin& bin : coarseHistogram(run.histogram))
        rows += QJsonArray{rounded(bin.lowerUs), rounded(bin.upperUs), bin.count};
    return table({"lowerUs", "upperUs", "count"}, rows);
}

QJsonObject tailTable(const Run& run)
{
    QJsonArray rows;
    for (const TailPoint& point : latencyTail(run))
        rows += QJsonArray{rounded(point.oneIn), rounded(point.us)};
    return table({"oneIn", "us"}, rows);
}

QJsonObject timeTable(const Run& run)
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
    return table({"start", "sentPerSecond", "receivedPerSecond", "lost", "p50Us", "maximumUs"},
                 rows);
}

} // namespace

QJsonObject overlayData(const std::vector<Run>& runs)
{
    QJsonArray all;
    for (const Run& run : runs)
        all += QJsonObject{{"label", run.label},
                           {"timed", run.timed()},
                           {"bins", binTable(run)},
                           {"tail", tailTable(run)},
                           {"time", timeTable(run)}};
    return {{"runs", all}};
}

QJsonObject batchData(const std::vector<Run>& runs)
{
    std::vector<const Run*> inOrder;
    inOrder.reserve(runs.size());
    for (const Run& run : runs)
        inOrder.push_back(&run);
    std::stable_sort(inOrder.begin(), inOrder.end(),
                     [](const Run* one, const Run* other) { return one->start < other->start; });
    QJsonArray rows;
    for (const Run* run : inOrder)
        rows += QJsonArray{run->label, run->verdict == RunVerdict::Passed,
                           rounded(run->lossPercent()), rounded(run->latencyUs.p99)};
    return {{"batch", table({"label", "passed", "lossPercent", "p99Us"}, rows)}};
}

QJsonObject surveyData(const LinkSurvey& survey)
{
    const QStringList rateColumns{"sizeBytes", "packetsPerSecond"};
    const auto rates = [&](std::optional<SurveyRate> SurveySize::*rate) {
        QJsonArray rows;
        for (const SurveySize& size : survey.sizes) {
            if (size.*rate)
                rows += QJsonArray{size.sizeBytes, (size.*rate)->packetsPerSecond};
        }
        return table(rateColumns, rows);
    };
    QJsonArray capacity;
    QJsonArray loads;
    for (const SurveySize& size : survey.sizes) {
        capacity += QJsonArray{size.sizeBytes, size.capacity};
        QJsonArray rows;
        for (const SurveyLoad& load : size.loads) {
            if (load.p50Us && load.p99Us)
                rows += QJsonArray{load.percent, *load.p50Us, *load.p99Us};
        }
        loads += QJsonObject{{"label", QStringLiteral("%1 bytes").arg(size.sizeBytes)},
                             {"points", table({"percent", "p50Us", "p99Us"}, rows)}};
    }
    return {{"survey", QJsonObject{{"capacity", table(rateColumns, capacity)},
                                   {"withoutLoss", rates(&SurveySize::withoutLoss)},
                                   {"withPartialLoss", rates(&SurveySize::withPartialLoss)},
                                   {"partialLossText", partialLossText(survey)},
                                   {"loads", loads}}}};
}
