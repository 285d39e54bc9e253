#include "report/readRun.h"

#include "report/FieldReader.h"

#include <QFile>
#include <QJsonDocument>

#include <limits>

namespace {

constexpr int knownFormat = 2;
/** An hour's report has less than a megabyte. */
constexpr qint64 mostBytes = 64LL << 20;

void readSettings(FieldReader from, RunSettings& settings)
{
    constexpr int any = std::numeric_limits<int>::max();
    settings.port = from.text("port");
    settings.baudRate = from.integer("baudRate", 1, any);
    settings.packetsPerSecond = from.integer("packetsPerSecond", 1, any);
    settings.minDataSizeBytes = from.integer("minDataSizeBytes", 0, any);
    settings.maxDataSizeBytes = from.integer("maxDataSizeBytes", 0, any);
    settings.timeoutMs = from.integer("timeoutMs", 0, any);
    settings.durationSeconds = from.integer("durationSeconds", 0, any);
    settings.moduleScreen = from.flag("moduleScreen");
    settings.maxLossPercent = from.number("maxLossPercent");
    settings.maxLatencyMs = from.figure("maxLatencyMs");
    settings.maxP99Ms = from.figure("maxP99Ms");
}

void readPlace(FieldReader& from, Run& run)
{
    FieldReader host = from.object("host");
    run.hostName = host.textOrNull("name");
    run.kernel = host.textOrNull("kernel");
    run.machine = host.textOrNull("machine");
    const QJsonObject tags = from.object("tags").all();
    for (auto tag = tags.begin(); tag != tags.end(); ++tag)
        run.tags.insert(tag.key(), tag->toString());
    if (std::optional<FieldReader> adapter = from.objectOrNull("adapter"))
        run.adapter = Adapter{adapter->textOrNull("driver"),    adapter->textOrNull("vendorId"),
                              adapter->textOrNull("productId"), adapter->textOrNull("serialNumber"),
                              adapter->textOrNull("product"),   adapter->figure("latencyTimerMs")};
}

void readCounts(FieldReader& from, Run& run)
{
    run.sendingSeconds = from.number("sendingSeconds");
    run.achievedPacketsPerSecond = from.figure("achievedPacketsPerSecond");
    run.sent = from.count("packetsSent");
    run.received = from.count("packetsReceived");
    run.lost = from.count("packetsLost");
    run.sendFailures = from.count("sendFailures");
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
        run.lineErrors =
            LineErrors{errors->count("framing"), errors->count("parity"), errors->count("overrun"),
                       errors->count("break"), errors->count("bufferOverrun")};
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
        run.errorReplies.push_back(
            {reply.integer("code", 0, 255), reply.text("text"), reply.count("count")});
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
                                   QStringLiteral("lineLost"), QStringLiteral("outputFailed")};
    const qsizetype index = words.indexOf(from.text("verdict"));
    if (index < 0)
        from.refuse("verdict", "a known word");
    else
        run.verdict = static_cast<RunVerdict>(index);
    for (const QJsonValue& reason : from.array("reasons"))
        run.reasons += reason.toString();
}

/** Why `report` is not for this program; empty when it is. */
QString formatFault(const QJsonObject& report)
{
    if (report.value(u"program") != QStringLiteral("packetbrask-run"))
        return QStringLiteral("it is no report of packetbrask-run");
    const QJsonValue format = report.value(u"format");
    if (format.isUndefined())
        return QStringLiteral("it is a report of format 1, made by an older packetbrask-run; only "
                              "format %1 can be read")
            .arg(knownFormat);
    if (format.toDouble() == knownFormat)
        return {};
    return QStringLiteral("its format %1 is not known, only format %2 can be read")
        .arg(format.toVariant().toString())
        .arg(knownFormat);
}

} // namespace

ReadResult parseRun(const QByteArray& json, const QString& path)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (document.isNull())
        return {{},
                QStringLiteral("it is no JSON, or only a part of it: %1 at byte %2")
                    .arg(error.errorString())
                    .arg(error.offset)};
    QString fault = formatFault(document.object());
    if (!fault.isEmpty())
        return {{}, fault};

    FieldReader from(document.object(), {}, fault);
    Run run;
    run.path = path;
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
    if (!fault.isEmpty())
        return {{}, fault};
    return {run, {}};
}

ReadResult readRun(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {{}, file.errorString()};
    const QByteArray bytes = file.read(mostBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return {{}, file.errorString()};
    if (bytes.size() > mostBytes)
        return {{}, QStringLiteral("it is too large for a report")};
    return parseRun(bytes, path);
}
