#include "runner/runOptions.h"

#include <QCommandLineParser>
#include <QDir>

#include <algorithm>
#include <array>
#include <initializer_list>

namespace {

struct IntegerOption
{
    const char* name;
    const char* unit;
    int TestConfig::*value;
    int lowest;
    int highest;
    const char* effect;
};

constexpr std::array<IntegerOption, 5> integerOptions{{
    {"rate", "packets/s", &TestConfig::packetsPerSecond, 1, 1000, "Pings a second."},
    {"min-size", "bytes", &TestConfig::minDataSize, 0, 124,
     "Smallest payload; fewer than 8 are sent as 8."},
    {"max-size", "bytes", &TestConfig::maxDataSize, 0, 124, "Largest payload."},
    {"timeout", "ms", &TestConfig::timeoutMs, 50, 5000, "A ping older than this is lost."},
    {"duration", "s", &TestConfig::durationSec, 0, 3600,
     "Length of the run; 0 runs until SIGINT or SIGTERM."},
}};

constexpr std::array<int, 8> baudRates{1200, 1800, 2400, 4800, 9600, 19200, 38400, 115200};
constexpr double highestLatencyMs = 60000;

QString integerRange(int lowest, int highest)
{
    return QStringLiteral("a whole number from %1 to %2").arg(lowest).arg(highest);
}

QString baudList()
{
    QStringList rates;
    for (const int rate : baudRates)
        rates += QString::number(rate);
    return rates.join(QStringLiteral(", "));
}

QString percentRange()
{
    return QStringLiteral("a number from 0 to 100");
}

QString latencyRange()
{
    return QStringLiteral("a number from 0 to %1").arg(highestLatencyMs);
}

QString timingNames()
{
    return QStringLiteral("exact or window");
}

void addOptions(QCommandLineParser& parser)
{
    const auto add = [&parser](const char* name, const QString& effect, const char* unit,
                               const QString& initially = {}) {
        parser.addOption({QLatin1String(name), effect, QLatin1String(unit), initially});
    };
    const auto allowed = [](const char* effect, const QString& range) {
        return QStringLiteral("%1 Allowed: %2.").arg(QLatin1String(effect), range);
    };
    parser.setApplicationDescription(
        QStringLiteral("Tests the serial link of a display module, without a window."));
    parser.addOption({{"h", "help"}, QStringLiteral("Show this help and end.")});
    parser.addOption({{"v", "version"}, QStringLiteral("Show the version and end.")});
    parser.addOption({QStringLiteral("list"), QStringLiteral("List the serial ports and end.")});
    parser.addOption({QStringLiteral("check"),
                      QStringLiteral("Tell what would spoil a test on the port, and end.")});
    add("port", QStringLiteral("Device that the module is connected to."), "path");
    add("baud", allowed("Bits per second.", baudList()), "rate", QStringLiteral("115200"));
    for (const IntegerOption& option : integerOptions)
        add(option.name, allowed(option.effect, integerRange(option.lowest, option.highest)),
            option.unit, QString::number(TestConfig{}.*option.value));
    add("events", QStringLiteral("New file for the run's events, as CSV."), "file");
    add("pings", QStringLiteral("New file with a row for each ping, as CSV."), "file");
    add("json", QStringLiteral("File for the report; - is standard output."), "file");
    add("junit", QStringLiteral("File for the verdict as JUnit XML; - is standard output."),
        "file");
    add("max-loss", allowed("Most loss that passes.", percentRange()), "percent",
        QStringLiteral("0"));
    add("max-latency",
        allowed("Longest round trip that passes; no limit without it.", latencyRange()), "ms");
    add("max-p99", allowed("Most that 99 of 100 round trips may take; likewise.", latencyRange()),
        "ms");
    add("timing", allowed("When pings are sent and echoes looked for.", timingNames()), "name",
        QStringLiteral("exact"));
    parser.addOption(
        {QStringLiteral("no-screen"), QStringLiteral("Leave the module's screen alone.")});
    add("tag", QStringLiteral("Goes into the report as it is; any number of times."), "key=value");
    parser.addOption({QStringLiteral("quiet"), QStringLiteral("Print errors and warnings only.")});
}

/** Takes the values out of the parsed command line; `options.message` keeps the first complaint. */
class ValueReader
{
public:
    ValueReader(const QCommandLineParser& parsed, RunOptions& result)
        : parser(parsed), options(result)
    {
    }

    void readAll()
    {
        readPath("port", options.port);
        if (options.port.isEmpty())
            complain(QStringLiteral("--port: missing, the path of a device has to be given; --list "
                                    "shows which there are"));
        readInteger("baud", options.baudRate, baudRates.front(), baudRates.back(), baudList());
        if (std::find(baudRates.begin(), baudRates.end(), options.baudRate) == baudRates.end())
            refuse("baud", baudList());
        for (const IntegerOption& option : integerOptions)
            readInteger(option.name, options.config.*option.value, option.lowest, option.highest,
                        integerRange(option.lowest, option.highest));
        if (options.config.minDataSize > options.config.maxDataSize)
            refuse("min-size", QStringLiteral("at most the --max-size, which is %1")
                                   .arg(options.config.maxDataSize));
        readPath("events", options.config.csvFilePath);
        readPath("pings", options.pingPath);
        readPath("json", options.reportPath);
        readPath("junit", options.junitPath);
        keepFilesApart();
        readLimits();
        readTiming();
        options.writesScreen = !parser.isSet(QStringLiteral("no-screen"));
        for (const QString& tag : parser.values(QStringLiteral("tag")))
            readTag(tag);
        options.quiet = parser.isSet(QStringLiteral("quiet"));
    }

private:
    void complain(const QString& complaint)
    {
        if (options.message.isEmpty())
            options.message = complaint;
    }

    void refuse(const char* name, const QString& allowed)
    {
        refuse(name, parser.value(QLatin1String(name)), allowed);
    }

    void refuse(const char* name, const QString& value, const QString& allowed)
    {
        complain(QStringLiteral("--%1: \"%2\" is not allowed, only %3")
                     .arg(QLatin1String(name), value, allowed));
    }

    void readInteger(const char* name, int& value, int lowest, int highest, const QString& allowed)
    {
        bool ok = false;
        const int given = parser.value(QLatin1String(name)).toInt(&ok);
        if (ok && given >= lowest && given <= highest)
            value = given;
        else
            refuse(name, allowed);
    }

    void readPath(const char* name, QString& path)
    {
        path = parser.value(QLatin1String(name));
        if (parser.isSet(QLatin1String(name)) && path.isEmpty())
            refuse(name, QStringLiteral("a path"));
    }

    void keepFilesApart()
    {
        QMap<QString, QLatin1String> takenBy;
        for (const char* name : {"events", "pings", "json", "junit"}) {
            const QString path = parser.value(QLatin1String(name));
            if (path.isEmpty())
                continue;
            const QString absolute =
                path == u"-" ? path : QDir::cleanPath(QDir::current().absoluteFilePath(path));
            if (takenBy.contains(absolute))
                refuse(name, QStringLiteral("another file than that of --") + takenBy[absolute]);
            takenBy.insert(absolute, QLatin1String(name));
        }
    }

    void readNumber(const char* name, double& value, double highest, const QString& allowed)
    {
        bool ok = false;
        const double given = parser.value(QLatin1String(name)).toDouble(&ok);
        // Written so that what is not a number at all is refused.
        if (ok && given >= 0 && given <= highest)
            value = given;
        else
            refuse(name, allowed);
    }

    void readLimits()
    {
        readNumber("max-loss", options.maxLossPercent, 100, percentRange());
        if (parser.isSet(QStringLiteral("max-latency")))
            readNumber("max-latency", options.maxLatencyMs.emplace(), highestLatencyMs,
                       latencyRange());
        if (parser.isSet(QStringLiteral("max-p99")))
            readNumber("max-p99", options.maxP99Ms.emplace(), highestLatencyMs, latencyRange());
    }

    void readTiming()
    {
        const QString name = parser.value(QStringLiteral("timing"));
        if (name == u"window")
            options.timing = RunOptions::Timing::Window;
        else if (name != u"exact")
            refuse("timing", timingNames());
    }

    void readTag(const QString& tag)
    {
        const qsizetype keyLength = tag.indexOf(u'=');
        if (keyLength <= 0)
            refuse("tag", tag, QStringLiteral("a key, = and a value"));
        else if (options.tags.contains(tag.left(keyLength)))
            refuse("tag", tag, QStringLiteral("keys that differ"));
        else
            options.tags.insert(tag.left(keyLength), tag.mid(keyLength + 1));
    }

    const QCommandLineParser& parser;
    RunOptions& options;
};

} // namespace

RunOptions parseRunOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    RunOptions options;
    if (!parser.parse(arguments)) {
        options.message = parser.errorText() + QStringLiteral(" --help tells what is allowed.");
    } else if (parser.isSet(QStringLiteral("help"))) {
        options.outcome = RunOptions::Outcome::ShowText;
        options.message = parser.helpText();
        return options;
    } else if (parser.isSet(QStringLiteral("version"))) {
        options.outcome = RunOptions::Outcome::ShowText;
        options.message = QStringLiteral("packetbrask-run " PROGRAM_VERSION "\n");
        return options;
    } else if (!parser.positionalArguments().isEmpty()) {
        options.message = QStringLiteral("\"%1\" is not allowed, only options; --help lists them")
                              .arg(parser.positionalArguments().constFirst());
    } else if (parser.isSet(QStringLiteral("list"))) {
        options.outcome = RunOptions::Outcome::ListPorts;
    } else {
        ValueReader(parser, options).readAll();
        if (parser.isSet(QStringLiteral("check")))
            options.outcome = RunOptions::Outcome::CheckPort;
    }
    if (!options.message.isEmpty())
        options.outcome = RunOptions::Outcome::Error;
    return options;
}
