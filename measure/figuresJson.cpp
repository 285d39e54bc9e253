#include "measure/figuresJson.h"

#include "engine/timing/PingObserver.h"
#include "link/vnPacketComs.h"
#include "measure/RunFormat.h"
#include "measure/jsonValues.h"

#include <QJsonArray>
#include <QString>

using jsonValues::count;
using jsonValues::rounded;

namespace {

QJsonValue us(const std::optional<double>& value)
{
    return rounded(value, 1);
}

template <typename Record>
QJsonValue us(const std::optional<Record>& record, double Record::*figure)
{
    return record ? us((*record).*figure) : QJsonValue();
}

QJsonObject latency(const RunFigures& figures)
{
    using Latency = RunFigures::Latency;
    const std::optional<Latency>& all = figures.latencyUs;
    return {
        {"minimum", us(all, &Latency::minimum)},
        {"mean", us(all, &Latency::mean)},
        {"p50", us(all, &Latency::p50)},
        {"p90", us(all, &Latency::p90)},
        {"p99", us(all, &Latency::p99)},
        {"p999", us(all, &Latency::p999)},
        {"maximum", us(all, &Latency::maximum)},
        {"standardDeviation", us(all, &Latency::standardDeviation)},
    };
}

QJsonArray histogram(const RunFigures& figures)
{
    QJsonArray bins;
    for (const LatencyHistogram::Bin& bin : figures.latencyHistogram)
        bins.append(QJsonArray{rounded(bin.lowerUs, 3), rounded(bin.upperUs, 3), count(bin.count)});
    return bins;
}

QJsonArray seconds(const RunFigures& figures)
{
    QJsonArray spans;
    for (const TimeSpan& span : figures.spans)
        spans.append(QJsonObject{
            {"start", span.startSec},
            {"length", rounded(span.lengthSec, 3)},
            {"sent", count(span.sent)},
            {"received", count(span.received)},
            {"lost", count(span.lost)},
            {"p50Us", us(span.p50Us)},
            {"maximumUs", us(span.maximumUs)},
        });
    return spans;
}

QJsonObject unexpected(const RunFigures::Unexpected& arrived)
{
    QJsonArray errorReplies;
    for (const auto& [code, replies] : arrived.errorReplies) {
        const bool hasCode = code != PingObserver::noCode;
        errorReplies.append(QJsonObject{
            {"code", hasCode ? QJsonValue(code) : QJsonValue()},
            {"text", hasCode ? vnPacketComs::errorText(static_cast<uint32_t>(code)) : "no code"},
            {"count", count(replies)},
        });
    }
    return {
        {"lateEchoes", count(arrived.lateEchoes)},
        {"repeatedEchoes", count(arrived.repeatedEchoes)},
        {"unknownEchoes", count(arrived.unknownEchoes)},
        {"shortEchoes", count(arrived.shortEchoes)},
        {"reports", count(arrived.reports)},
        {"otherPackets", count(arrived.otherPackets)},
        {"errorReplies", errorReplies},
    };
}

} // namespace

QJsonObject figuresJson(const RunFigures& figures)
{
    using SendLag = RunFigures::SendLag;
    return {
        {"latencyUs", latency(figures)},
        {"sendLagUs", QJsonObject{{"p99", us(figures.sendLagUs, &SendLag::p99)},
                                  {"maximum", us(figures.sendLagUs, &SendLag::maximum)}}},
        {"latencyHistogramUs", histogram(figures)},
        {"seconds", seconds(figures)},
        {"lossCauses",
         QJsonObject{{RunFormat::noEchoInTime, count(figures.lossCauses.noEchoInTime)},
                     {RunFormat::noEchoAtEnd, count(figures.lossCauses.noEchoAtEnd)},
                     {RunFormat::changedEcho, count(figures.lossCauses.changedEcho)}}},
        {"bytes", QJsonObject{{"inFrames", count(figures.bytes.inFrames)},
                              {"skipped", count(figures.bytes.skipped)},
                              {"overrun", count(figures.bytes.overrun)}}},
        {"sendFailures", count(figures.sendFailures)},
        {"lossBursts", QJsonObject{{"count", count(figures.lossBursts.count)},
                                   {"longest", count(figures.lossBursts.longest)}}},
        {"unexpected", unexpected(figures.unexpected)},
        {"outOfOrderEchoes", count(figures.outOfOrderEchoes)},
    };
}
