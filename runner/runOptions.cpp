#include "runner/runOptions.h"

#include "measure/RunFormat.h"

#include <QCommandLineParser>
#include <QFile>

#include <algorithm>
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

QString payloadNames()
{
    QStringList names;
    for (const char* name : Payload::names)
        names += QLatin1String(name);
    return names.join(QStringLiteral(", ")) + QStringLiteral(" or file:PATH");
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
    add(parser, "payload", "What pings carry behind their number.", payloadNames(), "kind",
        QLatin1String(Payload::names.front()));
    parser.addOption({QStringLiteral("loopback"),
                      QStringLiteral("A plug that joins both pins takes the module's place.")});
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

void readPayloadFile(const QString& path, OptionReader& reader, Payload& payload)
{
    constexpr qint64 mostBytes = 1 << 20;
    QFile file(path);
    const QByteArray bytes =
        file.open(QIODevice::ReadOnly) ? file.read(mostBytes + 1) : QByteArray();
    if (file.error() != QFileDevice::NoError)
        reader.complain(
            QStringLiteral("--payload: cannot read %1: %2").arg(path, file.errorString()));
    else if (bytes.isEmpty() || bytes.size() > mostBytes)
        reader.complain(QStringLiteral("--payload: %1 has %2, allowed are 1 byte to 1 MiB")
                            .arg(path, bytes.isEmpty() ? QStringLiteral("no bytes")
                                                       : QStringLiteral("more than 1 MiB")));
    else
        payload = Payload(bytes);
}

void readPayload(const QCommandLineParser& parser, OptionReader& reader, RunOptions& options)
{
    const QString prefix = QStringLiteral("file:");
    const auto& names = Payload::names;
    options.payloadName = parser.value(QStringLiteral("payload"));
    const auto* const name = std::find(names.begin(), names.end(), options.payloadName);
    if (name != names.end())
        options.payload = Payload(static_cast<Payload::Kind>(name - names.begin()));
    else if (options.payloadName.size() > prefix.size() && options.payloadName.startsWith(prefix))
        readPayloadFile(options.payloadName.mid(prefix.size()), reader, options.payload);
    else
        reader.refuse("payload", payloadNames());
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
    readPayload(parser, reader, options);
    options.isLoopback = reader.isSet("loopback");
    options.writesScreen = !options.isLoopback && !reader.isSet("no-screen");
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
