#include "runner/runReport.h"

#include "drive/reportMembers.h"
#include "engine/lineCapacity.h"
#include "measure/RunFormat.h"
#include "measure/figuresJson.h"
#include "measure/jsonValues.h"

#include <QJsonArray>

#include <optional>

using namespace jsonValues;

namespace {

bool isExact(const RunOptions& options)
{
    return options.timing == TimingKind::Exact;
}

QJsonObject configuration(const RunOptions& options)
{
    return {
        {"port", options.port},
        {"baudRate", options.baudRate},
        {"packetsPerSecond", options.config.packetsPerSecond},
        {"minDataSizeBytes", options.config.minDataSize},
        {"maxDataSizeBytes", options.config.maxDataSize},
        {"timeoutMs", options.config.timeoutMs},
        {"durationSeconds", options.config.durationSec},
        {"moduleScreen", options.writesScreen},
        {"payload", options.payloadName},
        {"loopback", options.isLoopback},
        {"maxLossPercent", options.maxLossPercent},
        {"maxLatencyMs", orNull(options.maxLatencyMs)},
        {"maxP99Ms", orNull(options.maxP99Ms)},
        {"maxLeftOutPercent",
         isExact(options) ? QJsonValue(options.maxLeftOutPercent) : QJsonValue()},
        {"eventFile", orNull(options.config.csvFilePath)},
        {"pingFile", orNull(options.pingPath)},
    };
}

QJsonObject leftOut(const RunFigures& figures)
{
    return {{"byComputer", count(figures.leftOut.byComputer)},
            {"byLine", count(figures.leftOut.byLine)}};
}

QJsonObject latencies(const TestStats& stats)
{
    const auto timed = [&stats](int valueMs) {
        return stats.packetsReceived > 0 ? QJsonValue(valueMs) : QJsonValue();
    };
    return {{"average", timed(stats.avgLatencyMs)},
            {"minimum", timed(stats.minLatencyMs)},
            {"maximum", timed(stats.maxLatencyMs)}};
}

std::optional<double> perSecond(quint64 packets, const RunOutcome& outcome)
{
    if (outcome.figures.sendingNs <= 0)
        return std::nullopt;
    return static_cast<double>(packets) / outcome.sendingSeconds();
}

/**
 * Estimates the traffic in one direction: `packets` pings or echoes, and `screenBytes` per second
 * for the module's screen.
 */
QJsonObject traffic(const RunOptions& options, const RunOutcome& outcome, quint64 packets,
                    int screenBytes)
{
    std::optional<double> bytes = perSecond(packets, outcome);
    std::optional<double> share;
    if (bytes) {
        *bytes = *bytes * meanFrameBytes(options.config) + screenBytes;
        share = lineSharePercent(*bytes, options.baudRate);
    }
    return {{"bytesPerSecond", rounded(bytes, 0)}, {"lineSharePercent", rounded(share, 2)}};
}

QJsonObject bothTraffics(const RunOptions& options, const RunOutcome& outcome)
{
    const TestStats& stats = outcome.stats;
    const ScreenTraffic screen = options.writesScreen ? screenTraffic(stats) : ScreenTraffic{};
    // A module that never echoes is assumed to answer no screen requests either.
    const int answered = stats.packetsReceived > 0 ? screen.fromModule : 0;
    return {
        {"estimatedTrafficToModule", traffic(options, outcome, stats.packetsSent, screen.toModule)},
        {"estimatedTrafficFromModule", traffic(options, outcome, stats.packetsReceived, answered)}};
}

void add(QJsonObject& report, const QJsonObject& members)
{
    for (auto member = members.begin(); member != members.end(); ++member)
        report.insert(member.key(), member.value());
}

} // namespace

QJsonObject runReport(const RunOptions& options, const RunOutcome& outcome, const Verdict& verdict)
{
    const TestStats& stats = outcome.stats;
    const bool exact = isExact(options);
    std::optional<double> successPercent;
    if (stats.packetsSent > 0)
        successPercent = stats.successRate;
    QJsonObject report{
        {"program", RunFormat::program()},
        {"version", PROGRAM_VERSION},
        {"format", RunFormat::number},
        {"configuration", configuration(options)},
        {"tags", toJson(options.tags)},
        {"host", toJson(outcome.host)},
        {"adapter", toJson(outcome.adapter)},
        {"timing", exact ? RunFormat::exactTiming : RunFormat::windowTiming},
        {"start", isoTime(outcome.start())},
        {"end", isoTime(outcome.end())},
        {"sendingSeconds", rounded(outcome.sendingSeconds(), 6)},
        {"requestedPacketsPerSecond", options.config.packetsPerSecond},
        {"achievedPacketsPerSecond", rounded(perSecond(stats.packetsSent, outcome), 3)},
        {"packetsSent", count(stats.packetsSent)},
        {"packetsReceived", count(stats.packetsReceived)},
        {"packetsLost", count(stats.packetsLost)},
        {"packetsLeftOut", exact ? leftOut(outcome.figures) : QJsonValue()},
        {"successRatePercent", rounded(successPercent, 4)},
        {"latencyMs", latencies(stats)},
        {"lineErrors", toJson(outcome.lineErrors)},
        {"verdict",
         RunFormat::verdictWords.at(static_cast<std::size_t>(reportedVerdict(verdict.status)))},
        {"reasons", QJsonArray::fromStringList(verdict.reasons())},
        {"exitStatus", static_cast<int>(verdict.status)},
    };
    add(report, figuresJson(outcome.figures));
    add(report, bothTraffics(options, outcome));
    return report;
}
