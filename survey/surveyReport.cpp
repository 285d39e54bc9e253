#include "survey/surveyReport.h"

#include "drive/reportMembers.h"
#include "measure/SurveyFormat.h"
#include "measure/jsonValues.h"
#include "survey/surveyReasons.h"

#include <QJsonArray>

using namespace jsonValues;

namespace {

QString purposeWord(TrialPurpose purpose)
{
    switch (purpose) {
    case TrialPurpose::Confirmation:
        return QStringLiteral("confirmation");
    case TrialPurpose::Comparison:
        return QStringLiteral("comparison");
    case TrialPurpose::Load:
        return QStringLiteral("load");
    case TrialPurpose::Search:
        break;
    }
    return QStringLiteral("search");
}

QJsonObject trialJson(const Trial& trial)
{
    return {
        {"purpose", purposeWord(trial.purpose)},
        {"packetsPerSecond", trial.packetsPerSecond},
        {"sendingSeconds", rounded(trial.seconds, 6)},
        {"cutShort", trial.cutShort},
        {"packetsSent", count(trial.sent)},
        {"packetsReceived", count(trial.received)},
        {"packetsLost", count(trial.lost)},
        {"sendFailures", count(trial.failed)},
        {"packetsUnsent", count(trial.unsent)},
        {"p50Us", rounded(trial.p50Us, 1)},
        {"p99Us", rounded(trial.p99Us, 1)},
        {"sendLagP99Us", rounded(trial.sendLagP99Us, 1)},
        {"soonestLateEchoUs", rounded(trial.lateUs, 1)},
    };
}

/** Returns a rate found and its share of the capacity; null without a rate. */
QJsonValue rateJson(const SizeResult& size, const std::optional<int>& rate)
{
    if (!rate)
        return {};
    return QJsonObject{{"packetsPerSecond", *rate},
                       {"capacityPercent", rounded(size.sharePercent(*rate), 2)}};
}

QJsonValue evenLossJson(const SizeResult& size)
{
    const std::optional<EvenLoss>& loss = size.comparison.even;
    if (!loss)
        return {};
    return QJsonObject{{"text", evenLossText(*loss)},
                       {"packetsPerSecond", loss->packetsPerSecond},
                       {"capacityPercent", rounded(size.sharePercent(loss->packetsPerSecond), 2)},
                       {"packetsTried", count(loss->count.tried)},
                       {"packetsLost", count(loss->count.lost)}};
}

QJsonObject sizeJson(const SizeResult& size)
{
    QJsonArray loads;
    for (const auto& [percent, trial] : size.loads) {
        loads += QJsonObject{{"percent", percent},
                             {"packetsPerSecond", trial.packetsPerSecond},
                             {"packetsSent", count(trial.sent)},
                             {"packetsLost", count(trial.lost + trial.failed)},
                             {"p50Us", rounded(trial.p50Us, 1)},
                             {"p99Us", rounded(trial.p99Us, 1)}};
    }
    QJsonArray trials;
    for (const Trial& trial : size.trials)
        trials += trialJson(trial);
    return {
        {"sizeBytes", size.sizeBytes},
        {"complete", size.complete},
        {"hindered", size.isHindered()},
        {"capacityPacketsPerSecond", rounded(size.capacity, 3)},
        {"highestPacketsPerSecond", size.highestRate},
        {"withoutLoss", rateJson(size, size.withoutLoss())},
        {"withPartialLoss", rateJson(size, size.withPartialLoss)},
        {"lossDependsOnRate", orNull(size.comparison.dependsOnRate)},
        {"evenLoss", evenLossJson(size)},
        {"loads", loads},
        {"trials", trials},
    };
}

QJsonValue momentJson(const std::optional<SurveyMoment>& moment)
{
    if (!moment)
        return {};
    return QJsonObject{{"seconds", rounded(moment->seconds, 3)}, {"time", isoTime(moment->time)}};
}

QJsonObject configuration(const SurveyOptions& options)
{
    QJsonArray sizes;
    for (const int size : options.sizesBytes)
        sizes += size;
    return {
        {"port", options.port},
        {"baudRate", options.baudRate},
        {"sizesBytes", sizes},
        {"trialSeconds", options.trialSeconds},
        {"partialLossPercent", options.partialLossPercent},
        {"timeoutMs", options.timeoutMs},
    };
}

} // namespace

QJsonObject surveyReport(const SurveyOptions& options, const SurveyOutcome& outcome)
{
    QJsonArray sizes;
    for (const SizeResult& size : outcome.sizes)
        sizes += sizeJson(size);
    return {
        {"program", SurveyFormat::program()},
        {"version", PROGRAM_VERSION},
        {"kind", SurveyFormat::kind},
        {"format", SurveyFormat::number},
        {"configuration", configuration(options)},
        {"tags", toJson(options.tags)},
        {"host", toJson(outcome.host)},
        {"adapter", toJson(outcome.adapter)},
        {"start", isoTime(outcome.start)},
        {"end", isoTime(outcome.end)},
        {"complete", outcome.isComplete()},
        {"silentSince", momentJson(outcome.silentSince)},
        {"sizes", sizes},
        {"reasons", QJsonArray::fromStringList(outcome.reasons)},
        {"exitStatus", outcome.exitStatus},
    };
}
