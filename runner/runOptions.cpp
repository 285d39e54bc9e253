#include "runner/runOptions.h"

#include "measure/RunFormat.h"

#include <QCommandLineParser>

#include <array>

namespace {

struct ConfigOption
{
    IntegerOption option;
    int TestConfig::*value;
};

constexpr std::array<ConfigOption, 5> configOptions{{
    {{"rate", "packets/s", 1, 1000, "Pings a second."}, &TestConfig::packetsPerSecond},
    {{"min-size", "bytes", 0, 124, "Smallest payload; fewer than 8 are sent as 8."},
     &TestConfig::minDataSize},
    {{"max-size", "bytes", 0, 124, "Largest payload."}, &TestConfig::maxDataSize},
    {timeoutOption, &TestConfig::timeoutMs},
    {{"duration", "s", 0, 3600, "Length of the run; 0 runs until SIGINT or SIGTERM."},
     &TestConfig::durationSec},
}};

constexpr double highestLatencyMs = 60000;

QString timingNames()
{
    return QStringLiteral("exact or window");
}

void addOptions(QCommandLineParser& parser)
{
    using optionTexts::add;
    const QString latencyRange = optionTexts::numberRange(0, highestLatencyMs);
    parser.setApplicationDescription(
        QStringLiteral("Tests the serial link of a display module, without a window."));
    optionTexts::addHelp(parser);
    optionTexts::addVersion(parser);
    parser.addOption({QStringLiteral("list"), QStringLiteral("List the serial ports and end.")});
    parser.addOption({QStringLiteral("check"),
                      QStringLiteral("Tell what would spoil a test on the port, and end.")});
    addLineOptions(parser);
    for (const auto& [option, value] : configOptions)
        optionTexts::addInteger(parser, option, TestConfig{}.*value);
    add(parser, "events", "New file for the run's events, as CSV.", {}, "file");
    add(parser, "pings", "New file with a row for each ping, as CSV.", {}, "file");
    add(parser, "json", "File for the report; - is standard output.", {}, "file");
    add(parser, "junit", "File for the verdict as JUnit XML; - is standard output.", {}, "file");
    add(parser, "max-loss", "Most loss that passes.", optionTexts::numberRange(0, 100), "percent",
        QStringLiteral("0"));
    add(parser, "max-latency", "Longest round trip that passes; no limit without it.", latencyRange,
        "ms");
    add(parser, "max-p99", "Most that 99 of 100 round trips may take; likewise.", latencyRange,
        "ms");
    add(parser, "max-left-out",
        "Most pings that a busy computer may leave out; more, and the run is disturbed. Exact "
        "timing only.",
        optionTexts::numberRange(0, 100), "percent", QStringLiteral("1"));
    add(parser, "timing", "When pings are sent and echoes looked for.", timingNames(), "name",
        QStringLiteral("exact"));
    parser.addOption(
        {QStringLiteral("no-screen"), QStringLiteral("Leave the module's screen alone.")});
    addReportOptions(parser);
}

void readLimits(OptionReader& reader, RunOptions& options)
{
    reader.readNumber("max-loss", options.maxLossPercent, 0, 100);
    reader.readNumber("max-left-out", options.maxLeftOutPercent, 0, 100);
    if (reader.isSet("max-latency"))
        reader.readNumber("max-latency", options.maxLatencyMs.emplace(), 0, highestLatencyMs);
    if (reader.isSet("max-p99"))
        reader.readNumber("max-p99", options.maxP99Ms.emplace(), 0, highestLatencyMs);
}

void readTiming(const QCommandLineParser& parser, OptionReader& reader, RunOptions& options)
{
    const QString name = parser.value(QStringLiteral("timing"));
    if (name == QLatin1String(RunFormat::windowTiming))
        options.timing = TimingKind::Window;
    else if (name != QLatin1String(RunFormat::exactTiming))
        reader.refuse("timing", timingNames());
}

void readAll(const QCommandLineParser& parser, RunOptions& options)
{
    OptionReader reader(parser, options.message);
    readDriveOptions(reader, QStringLiteral("--list"), options);
    for (const auto& [option, value] : configOptions)
        reader.readInteger(option, options.config.*value);
    if (options.config.minDataSize > options.config.maxDataSize)
        reader.refuse(
            "min-size",
            QStringLiteral("at most the --max-size, which is %1").arg(options.config.maxDataSize));
    reader.readPath("events", options.config.csvFilePath);
    reader.readPath("pings", options.pingPath);
    reader.readPath("junit", options.junitPath);
    reader.keepFilesApart({"events", "pings", "json", "junit"});
    readLimits(reader, options);
    readTiming(parser, reader, options);
    options.writesScreen = !reader.isSet("no-screen");
}

} // namespace

RunOptions parseRunOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    RunOptions options;
    if (parseArguments(parser, arguments,
                       RunFormat::program() + QStringLiteral(" " PROGRAM_VERSION "\n"),
                       options.message)) {
        options.outcome = RunOptions::Outcome::ShowText;
        return options;
    }
    refusePositionals(parser, options.message);
    if (options.message.isEmpty() && parser.isSet(QStringLiteral("list"))) {
        options.outcome = RunOptions::Outcome::ListPorts;
    } else if (options.message.isEmpty()) {
        readAll(parser, options);
        if (parser.isSet(QStringLiteral("check")))
            options.outcome = RunOptions::Outcome::CheckPort;
    }
    if (!options.message.isEmpty())
        options.outcome = RunOptions::Outcome::Error;
    return options;
}
