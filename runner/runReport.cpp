#include "runner/runReport.h"

#include "runner/lineCapacity.h"

#include <QJsonArray>

#include <cmath>
#include <optional>

namespace {

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
        {"maxLossPercent", options.maxLossPercent},
        {"maxLatencyMs", options.maxLatencyMs ? QJsonValue(*options.maxLatencyMs) : QJsonValue()},
        {"eventFile", pathOrNull(options.config.csvFilePath)},
    };
}

QJsonObject tags(const RunOptions& options)
{
    QJsonObject object;
    for (auto tag = options.tags.begin(); tag != options.tags.end(); ++tag)
        object.insert(tag.key(), tag.value());
    return object;
}

QJsonObject latencies(const TestStats& stats)
{
    const auto timed = [&stats](int valueMs) {
        return hasLatencies(stats) ? QJsonValue(valueMs) : QJsonValue();
    };
    return {{"average", timed(stats.avgLatencyMs)},
            {"minimum", timed(stats.minLatencyMs)},
            {"maximum", timed(stats.maxLatencyMs)}};
}

} // namespace

QJsonObject runReport(const RunOptions& options, const RunOutcome& outcome, const Verdict& verdict)
{
    const TestStats& stats = outcome.stats;
    const double frameBytes = meanFrameBytes(options.config);
    const auto perSecond = [&outcome](quint64 packets) -> std::optional<double> {
        if (outcome.sendingMs <= 0)
            return std::nullopt;
        return 1000.0 * static_cast<double>(packets) / static_cast<double>(outcome.sendingMs);
    };
    const ScreenTraffic screen = screenTraffic(stats);
    const auto traffic = [&](quint64 packets, int screenBytes) -> QJsonObject {
        std::optional<double> bytes = perSecond(packets);
        std::optional<double> share;
        if (bytes) {
            *bytes = *bytes * frameBytes + screenBytes;
            share = lineSharePercent(*bytes, options.baudRate);
        }
        return {{"bytesPerSecond", orNull(bytes, 0)}, {"lineSharePercent", orNull(share, 2)}};
    };
    // A module that never echoes is not taken to answer at all.
    const int answered = stats.packetsReceived > 0 ? screen.fromModule : 0;
    std::optional<double> successPercent;
    if (stats.packetsSent > 0)
        successPercent = stats.successRate;

    return {
        {"program", "packetbrask-run"},
        {"version", PROGRAM_VERSION},
        {"configuration", configuration(options)},
        {"tags", tags(options)},
        {"host", outcome.host},
        {"adapter", outcome.adapter},
        {"start", isoTime(QDateTime::fromMSecsSinceEpoch(stats.startTime))},
        {"end", isoTime(outcome.end)},
        {"sendingSeconds", static_cast<double>(outcome.sendingMs) / 1000},
        {"requestedPacketsPerSecond", options.config.packetsPerSecond},
        {"achievedPacketsPerSecond", orNull(perSecond(stats.packetsSent), 3)},
        {"packetsSent", count(stats.packetsSent)},
        {"packetsReceived", count(stats.packetsReceived)},
        {"packetsLost", count(stats.packetsLost)},
        {"successRatePercent", orNull(successPercent, 4)},
        {"latencyMs", latencies(stats)},
        {"estimatedTrafficToModule", traffic(stats.packetsSent, screen.toModule)},
        {"estimatedTrafficFromModule", traffic(stats.packetsReceived, answered)},
        {"lineErrors", outcome.lineErrors},
        {"verdict", verdictWord(verdict.status)},
        {"reasons", QJsonArray::fromStringList(verdict.reasons)},
        {"exitStatus", static_cast<int>(verdict.status)},
    };
}
