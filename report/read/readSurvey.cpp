#include "report/read/readSurvey.h"

#include "report/read/FieldReader.h"

namespace {

std::optional<SurveyRate> readRate(FieldReader& from, const char* name)
{
    std::optional<FieldReader> rate = from.objectOrNull(name);
    if (!rate)
        return std::nullopt;
    return SurveyRate{rate->integer("packetsPerSecond"), rate->number("capacityPercent")};
}

std::optional<SurveyLoss> readLoss(FieldReader& from, const char* name)
{
    std::optional<FieldReader> loss = from.objectOrNull(name);
    if (!loss)
        return std::nullopt;
    return SurveyLoss{loss->text("text"),
                      {loss->integer("packetsPerSecond"), loss->number("capacityPercent")}};
}

SurveySize readSize(FieldReader from, QString& fault)
{
    SurveySize size;
    size.sizeBytes = from.integer("sizeBytes");
    size.complete = from.flag("complete");
    size.hindered = from.flag("hindered");
    size.capacity = from.number("capacityPacketsPerSecond");
    size.withoutLoss = readRate(from, "withoutLoss");
    size.withPartialLoss = readRate(from, "withPartialLoss");
    size.evenLoss = readLoss(from, "evenLoss");
    for (const QJsonValue& value : from.array("loads")) {
        FieldReader load(value.toObject(), QStringLiteral("loads: "), fault);
        size.loads.push_back({.percent = load.integer("percent", 0, 100),
                              .packetsPerSecond = load.integer("packetsPerSecond"),
                              .lost = load.count("packetsLost"),
                              .p50Us = load.figure("p50Us"),
                              .p99Us = load.figure("p99Us")});
    }
    for (const QJsonValue& value : from.array("trials")) {
        FieldReader trial(value.toObject(), QStringLiteral("trials: "), fault);
        size.trials.push_back({.purpose = trial.text("purpose"),
                               .packetsPerSecond = trial.integer("packetsPerSecond"),
                               .sent = trial.count("packetsSent"),
                               .lost = trial.count("packetsLost"),
                               .sendFailures = trial.count("sendFailures"),
                               .unsent = trial.count("packetsUnsent"),
                               .cutShort = trial.flag("cutShort"),
                               .p50Us = trial.figure("p50Us"),
                               .p99Us = trial.figure("p99Us")});
    }
    return size;
}

} // namespace

LinkSurvey readSurvey(const QJsonObject& report, QString& fault)
{
    FieldReader from(report, {}, fault);
    LinkSurvey survey;
    survey.version = from.text("version");
    survey.start = from.time("start");
    survey.end = from.time("end");
    survey.complete = from.flag("complete");
    FieldReader configuration = from.object("configuration");
    survey.port = configuration.text("port");
    survey.baudRate = configuration.integer("baudRate", 1);
    survey.trialSeconds = configuration.number("trialSeconds");
    survey.partialLossPercent = configuration.number("partialLossPercent");
    survey.timeoutMs = configuration.integer("timeoutMs");
    readPlace(from, survey);
    for (const QJsonValue& reason : from.array("reasons"))
        survey.reasons += reason.toString();
    for (const QJsonValue& value : from.array("sizes"))
        survey.sizes.push_back(
            readSize(FieldReader(value.toObject(), QStringLiteral("sizes: "), fault), fault));
    if (survey.sizes.empty())
        from.refuse("sizes", "an array with something in it");
    return survey;
}
