#include "runner/runReport.h"

#include "engine/lineCapacity.h"
#include "measure/figuresJson.h"

#include <QJsonArray>

#include <cmath>
#include <optional>

namespace {

/** Reports without a format are those of version 1.0. */
constexpr int reportFormat = 2;

/** Figures are given no finer than they are measured. */
QJsonValue orNull(const std::optional<double>& value, int decimals)
{
    if (!value)
        return {};
    const double scale = std::pow(10, decimals);
    return std::round(*value * scale) / scale;
}

QJsonValue pathOrNull(const QString& path)
{
    return path.isEmpty() ? QJsonValue() : QJsonValue(path);
}

QJsonValue count(quint64 value)
{
    return static_cast<qint64>(value);
}

QString isoTime(const QDateTime& time)
{
    return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODateWithMs);
}

bool isExact(const RunOptions& options)
{
    return options.timing == RunOptions::Timing::Exact;
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
        {"maxLossPercent", options.maxLossPercent},
        {"maxLatencyMs", options.maxLatencyMs ? QJsonValue(*options.maxLatencyMs) : QJsonValue()},
        {"maxP99Ms", options.maxP99Ms ? QJsonValue(*options.maxP99Ms) : QJsonValue()},
        {"maxLeftOutPercent",
         isExact(options) ? QJsonValue(options.maxLeftOutPercent) : QJsonValue()},
        {"eventFile", pathOrNull(options.config.csvFilePath)},
        {"pingFile", pathOrNull(options.pingPath)},
    };
}

QJsonObject tags(const RunOptions& options)
{
    QJsonObject object;
    for (auto tag = options.tags.begin(); tag != options.tags.end(); ++tag)
        object.insert(tag.key(), tag.value());
    return object;
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

/** `packets` went one way, and `screenBytes` a second for the module's screen. */
QJsonObject traffic(const RunOptions& options, const RunOutcome& outcome, quint64 packets,
                    int screenBytes)
{
    std::optional<double> bytes = perSecond(packets, outcome);
    std::optional<double> share;
    if (bytes) {
        *bytes = *bytes * meanFrameBytes(options.config) + screenBytes;
        share = lineSharePercent(*bytes, options.baudRate);
    }
    return {{"bytesPerSecond", orNull(bytes, 0)}, {"lineSharePercent", orNull(share, 2)}};
}

QJsonObject bothTraffics(const RunOptions& options, const RunOutcome& outcome)
{
    const TestStats& stats = outcome.stats;
    const ScreenTraffic screen = options.writesScreen ? screenTraffic(stats) : ScreenTraffic{};
    // A module that never echoes is not taken to answer at all.
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
        {"program", "packetbrask-run"},
        {"version", PROGRAM_VERSION},
        {"format", reportFormat},
        {"configuration", configuration(options)},
        {"tags", tags(options)},
        {"host", outcome.host},
        {"adapter", outcome.adapter},
        {"timing", exact ? "exact" : "window"},
        {"start", isoTime(outcome.start())},
        {"end", isoTime(outcome.end())},
        {"sendingSeconds", orNull(outcome.sendingSeconds(), 6)},
        {"requestedPacketsPerSecond", options.config.packetsPerSecond},
        {"achievedPacketsPerSecond", orNull(perSecond(stats.packetsSent, outcome), 3)},
        {"packetsSent", count(stats.packetsSent)},
        {"packetsReceived", count(stats.packetsReceived)},
        {"packetsLost", count(stats.packetsLost)},
        {"packetsLeftOut", exact ? leftOut(outcome.figures) : QJsonValue()},
        {"successRatePercent", orNull(successPercent, 4)},
        {"latencyMs", latencies(stats)},
        {"lineErrors", outcome.lineErrors},
        {"verdict", verdictWord(verdict.status)},
        {"reasons", QJsonArray::fromStringList(verdict.reasons())},
        {"exitStatus", static_cast<int>(verdict.status)},
    };
    add(report, figuresJson(outcome.figures));
    add(report, bothTraffics(options, outcome));
    return report;
}
