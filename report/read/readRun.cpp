#include "report/read/readRun.h"

#include "report/read/FieldReader.h"

#include <QJsonObject>

#include <algorithm>

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
    if (from.all().contains(QStringLiteral("payload"))) { // older reports have none
        settings.payload = from.text("payload");
        settings.loopback = from.flag("loopback");
    }
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
            run.leftOut = LeftOut{.byComputer = leftOut->count("byComputer"),
                                  .byLine = leftOut->count("byLine")};
    if (from.all().contains(QStringLiteral("bytes"))) { // older reports have none
        FieldReader bytes = from.object("bytes");
        run.bytes = ReadBytes{.inFrames = bytes.count("inFrames"),
                              .skipped = bytes.count("skipped"),
                              .overrun = bytes.count("overrun")};
    }
    FieldReader causes = from.object("lossCauses");
    run.noEchoInTime = causes.count(RunFormat::noEchoInTime);
    run.noEchoAtEnd = causes.count(RunFormat::noEchoAtEnd);
    run.changedEcho = causes.count(RunFormat::changedEcho);
    FieldReader bursts = from.object("lossBursts");
    run.lossBursts = bursts.count("count");
    run.longestLossBurst = bursts.count("longest");
    run.outOfOrderEchoes = from.count("outOfOrderEchoes");
    run.lineSharePercent = from.object("estimatedTrafficToModule").figure("lineSharePercent");
    if (std::optional<FieldReader> errors = from.objectOrNull("lineErrors"))
        run.lineErrors = {.framing = errors->countOrNull("framing"),
                          .parity = errors->countOrNull("parity"),
                          .overrun = errors->countOrNull("overrun"),
                          .breaks = errors->countOrNull("break"),
                          .bufferOverrun = errors->countOrNull("bufferOverrun")};
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
    run.latencyUs = {.minimum = us.figure("minimum"),
                     .mean = us.figure("mean"),
                     .p50 = us.figure("p50"),
                     .p90 = us.figure("p90"),
                     .p99 = us.figure("p99"),
                     .p999 = us.figure("p999"),
                     .maximum = us.figure("maximum"),
                     .standardDeviation = us.figure("standardDeviation")};
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
        run.seconds.push_back({.start = second.number("start"),
                               .length = second.number("length"),
                               .sent = second.count("sent"),
                               .received = second.count("received"),
                               .lost = second.count("lost"),
                               .p50Us = second.figure("p50Us"),
                               .maximumUs = second.figure("maximumUs")});
    }
}

void readVerdict(FieldReader& from, Run& run)
{
    const auto& words = RunFormat::verdictWords;
    const auto* const word = std::find(words.begin(), words.end(), from.text("verdict"));
    if (word == words.end())
        from.refuse("verdict", "a known word");
    else
        run.verdict = static_cast<RunVerdict>(word - words.begin());
    for (const QJsonValue& reason : from.array("reasons"))
        run.reasons += reason.toString();
}

} // namespace

Run readRun(const QJsonObject& report, QString& fault)
{
    FieldReader from(report, {}, fault);
    Run run;
    run.version = from.text("version");
    run.exactTiming = from.text("timing") == QLatin1String(RunFormat::exactTiming);
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
