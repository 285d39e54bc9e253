#include "report/read/readRun.h"

#include "report/read/FieldReader.h"

#include <QJsonObject>

namespace {

void readSettings(FieldReader from, RunSettings& settings)
{
    settings.port = from.text("port");
    settings.baudRate = from.integer("baudRate", 1);
    settings.packetsPerSecond = from.integer("packetsPerSecond", 1);
    settings.minDataSizeBytes = from.integer("minDataSizeBytes");
    settings.maxDataSizeBytes = from.integer("maxDataSizeBytes");
    settings.timeoutMs = from.integer("timeoutMs");
    settings.durationSeconds = from.integer("durationSeconds");
    settings.moduleScreen = from.flag("moduleScreen");
    settings.maxLossPercent = from.number("maxLossPercent");
    if (from.all().contains(QStringLiteral("maxLeftOutPercent"))) // older reports have none
        settings.maxLeftOutPercent = from.figure("maxLeftOutPercent");
    settings.maxLatencyMs = from.figure("maxLatencyMs");
    settings.maxP99Ms = from.figure("maxP99Ms");
}

void readCounts(FieldReader& from, Run& run)
{
    run.sendingSeconds = from.number("sendingSeconds");
    run.achievedPacketsPerSecond = from.figure("achievedPacketsPerSecond");
    run.sent = from.count("packetsSent");
    run.received = from.count("packetsReceived");
    run.lost = from.count("packetsLost");
    run.sendFailures = from.count("sendFailures");
    if (from.all().contains(QStringLiteral("packetsLeftOut"))) // older reports have none
        if (std::optional<FieldReader> leftOut = from.objectOrNull("packetsLeftOut"))
            run.leftOut = LeftOut{leftOut->count("byComputer"), leftOut->count("byLine")};
    FieldReader causes = from.object("lossCauses");
    run.noEchoInTime = causes.count("noEchoInTime");
    run.noEchoAtEnd = causes.count("noEchoAtEnd");
    run.changedEcho = causes.count("changedEcho");
    FieldReader bursts = from.object("lossBursts");
    run.lossBursts = bursts.count("count");
    run.longestLossBurst = bursts.count("longest");
    run.outOfOrderEchoes = from.count("outOfOrderEchoes");
    run.lineSharePercent = from.object("estimatedTrafficToModule").figure("lineSharePercent");
    if (std::optional<FieldReader> errors = from.objectOrNull("lineErrors"))
        run.lineErrors = {errors->countOrNull("framing"), errors->countOrNull("parity"),
                          errors->countOrNull("overrun"), errors->countOrNull("break"),
                          errors->countOrNull("bufferOverrun")};
}

void readUnexpected(FieldReader from, Run& run, QString& fault)
{
    run.lateEchoes = from.count("lateEchoes");
    run.repeatedEchoes = from.count("repeatedEchoes");
    run.unknownEchoes = from.count("unknownEchoes");
    run.shortEchoes = from.count("shortEchoes");
    run.moduleReports = from.count("reports");
    run.otherPackets = from.count("otherPackets");
    for (const QJsonValue& value : from.array("errorReplies")) {
        FieldReader reply(value.toObject(), QStringLiteral("errorReplies: "), fault);
        std::optional<int> code;
        if (!reply.all().value(QStringLiteral("code")).isNull())
            code = reply.integer("code", 0, 255);
        run.errorReplies.push_back({code, reply.text("text"), reply.count("count")});
    }
}

void readLatencies(FieldReader& from, Run& run)
{
    FieldReader us = from.object("latencyUs");
    run.latencyUs = {us.figure("minimum"), us.figure("mean"),
                     us.figure("p50"),     us.figure("p90"),
                     us.figure("p99"),     us.figure("p999"),
                     us.figure("maximum"), us.figure("standardDeviation")};
    double previous = 0;
    for (const QJsonValue& value : from.array("latencyHistogramUs")) {
        const LatencyBin bin{value[0].toDouble(-1), value[1].toDouble(-1), value[2].toInteger(-1)};
        if (bin.lowerUs < previous || bin.upperUs <= bin.lowerUs || bin.count < 1 ||
            bin.count > 1'000'000'000'000)
            from.refuse("latencyHistogramUs", "a row of [lower, upper, count], shortest first");
        previous = bin.upperUs;
        run.histogram.push_back(bin);
    }
    FieldReader lag = from.object("sendLagUs");
    run.sendLagP99Us = lag.figure("p99");
    run.sendLagMaximumUs = lag.figure("maximum");
}

void readSeconds(FieldReader& from, Run& run, QString& fault)
{
    for (const QJsonValue& value : from.array("seconds")) {
        FieldReader second(value.toObject(), QStringLiteral("seconds: "), fault);
        run.seconds.push_back({second.number("start"), second.number("length"),
                               second.count("sent"), second.count("received"), second.count("lost"),
                               second.figure("p50Us"), second.figure("maximumUs")});
    }
}

void readVerdict(FieldReader& from, Run& run)
{
    static const QStringList words{QStringLiteral("passed"), QStringLiteral("failed"),
                                   QStringLiteral("lineLost"), QStringLiteral("outputFailed"),
                                   QStringLiteral("disturbed")};
    const qsizetype index = words.indexOf(from.text("verdict"));
    if (index < 0)
        from.refuse("verdict", "a known word");
    else
        run.verdict = static_cast<RunVerdict>(index);
    for (const QJsonValue& reason : from.array("reasons"))
        run.reasons += reason.toString();
}

} // namespace

Run readRun(const QJsonObject& report, QString& fault)
{
    FieldReader from(report, {}, fault);
    Run run;
    run.version = from.text("version");
    run.exactTiming = from.text("timing") == u"exact";
    run.start = from.time("start");
    run.end = from.time("end");
    readSettings(from.object("configuration"), run.settings);
    readPlace(from, run);
    readCounts(from, run);
    readUnexpected(from.object("unexpected"), run, fault);
    readLatencies(from, run);
    readSeconds(from, run, fault);
    readVerdict(from, run);
    return run;
}
