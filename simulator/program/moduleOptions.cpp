#include "simulator/program/moduleOptions.h"

#include <QCommandLineParser>

#include <array>
#include <cmath>

namespace {

struct ProbabilityOption
{
    const char* name;
    double ModuleFaults::*value;
    const char* effect;
};

constexpr std::array<ProbabilityOption, 9> probabilityOptions{{
    {"drop", &ModuleFaults::drop, "Leave a ping without an answer."},
    {"corrupt", &ModuleFaults::corrupt, "Flip one bit of the answer's frame."},
    {"alter", &ModuleFaults::alter, "Change one payload byte under a correct CRC."},
    {"truncate", &ModuleFaults::truncate, "Cut the payload short under a correct CRC."},
    {"duplicate", &ModuleFaults::duplicate, "Send the answer twice."},
    {"garbage", &ModuleFaults::garbage, "Send 1 to 40 random bytes first."},
    {"error-reply", &ModuleFaults::errorReply, "Send an error reply in place of the echo."},
    {"report", &ModuleFaults::report, "Send a report packet first."},
    {"split", &ModuleFaults::split, "Send the answer in two pieces, 15 ms apart."},
}};

struct IntegerOption
{
    const char* name;
    const char* valueName;
    int ModuleFaults::*value;
    int lowest;
    int highest;
    const char* effect;
};

constexpr std::array<IntegerOption, 4> integerOptions{{
    {"delay", "ms", &ModuleFaults::delayMs, 0, 60000, "Hold every echo back."},
    {"jitter", "ms", &ModuleFaults::jitterMs, 0, 60000, "Hold it back for up to so much more."},
    {"drop-above", "rate", &ModuleFaults::dropAbove, 1, 1000,
     "Take so many pings a second, evenly, and drop what comes faster."},
    {"baud", "rate", &ModuleFaults::baudRate, 1200, 115200,
     "Keep to this rate in each direction, 11 bits a byte."},
}};

struct MomentOption
{
    const char* name;
    int ModuleFaults::*valueMs;
    const char* effect;
};

constexpr std::array<MomentOption, 2> momentOptions{{
    {"unplug-after", &ModuleFaults::unplugAfterMs, "Close the line then, and end."},
    {"stall-after", &ModuleFaults::stallAfterMs, "Stop reading and answering then."},
}};
constexpr double highestMomentSeconds = 1e6;

constexpr auto probabilityRange = "a probability from 0 to 1";

QString integerRange(const IntegerOption& option)
{
    return QStringLiteral("a whole number from %1 to %2").arg(option.lowest).arg(option.highest);
}

QString momentRange()
{
    return QStringLiteral("seconds from the start, 0 to %1").arg(highestMomentSeconds, 0, 'f', 0);
}

/** Collects values out of the parsed command line; keeps the first complaint. */
class ValueReader
{
public:
    ValueReader(const QCommandLineParser& parsed, QString& complaint)
        : parser(parsed), error(complaint)
    {
    }

    /** `convert(text, ok)` makes the value; it counts when it lies from `lowest` to `highest`. */
    template <typename Value, typename Convert>
    void read(const QString& name, Value& value, Value lowest, Value highest, Convert convert,
              const QString& allowed)
    {
        if (!parser.isSet(name))
            return;
        bool ok = false;
        const Value given = convert(parser.value(name), &ok);
        // Written so that what is not a number at all is refused.
        if (ok && given >= lowest && given <= highest)
            value = given;
        else
            refuse(name, allowed);
    }

    void readPath(const QString& name, QString& path)
    {
        path = parser.value(name);
        if (parser.isSet(name) && path.isEmpty())
            refuse(name, QStringLiteral("a path"));
    }

private:
    void refuse(const QString& name, const QString& allowed)
    {
        if (error.isEmpty())
            error = QStringLiteral("--%1: \"%2\" is not allowed, only %3")
                        .arg(name, parser.value(name), allowed);
    }

    const QCommandLineParser& parser;
    QString& error;
};

void addOptions(QCommandLineParser& parser)
{
    const auto add = [&parser](const QString& name, const QString& effect,
                               const QString& valueName) {
        parser.addOption(QCommandLineOption(name, effect, valueName));
    };
    const auto withRange = [](const char* effect, const QString& range) {
        return QStringLiteral("%1 Allowed: %2.").arg(QLatin1String(effect), range);
    };
    parser.setApplicationDescription(
        QStringLiteral("A simulated display module on a pseudo-terminal, for trying out what talks "
                       "to one."));
    parser.addOption({{"h", "help"}, QStringLiteral("Show this help and end.")});
    add("link", QStringLiteral("Make this symbolic link to the line while running."), "path");
    add("summary", QStringLiteral("Write what has happened there at the end, as JSON."), "file");
    add("ledger", QStringLiteral("Write what has become of each ping there, as CSV."), "file");
    add("seed", QStringLiteral("Start of the random sequence, 0 if not given."), "number");
    for (const ProbabilityOption& option : probabilityOptions)
        add(option.name, withRange(option.effect, QLatin1String(probabilityRange)), "probability");
    for (const IntegerOption& option : integerOptions)
        add(option.name, withRange(option.effect, integerRange(option)), option.valueName);
    for (const MomentOption& option : momentOptions)
        add(option.name, withRange(option.effect, momentRange()), "seconds");
}

void readValues(ValueReader& reader, ModuleOptions& options)
{
    const auto toReal = [](const QString& text, bool* ok) { return text.toDouble(ok); };
    const auto toInteger = [](const QString& text, bool* ok) { return text.toInt(ok); };
    const auto toSeed = [](const QString& text, bool* ok) { return text.toULongLong(ok); };
    reader.readPath("link", options.linkPath);
    reader.readPath("summary", options.summaryPath);
    reader.readPath("ledger", options.ledgerPath);
    reader.read("seed", options.faults.seed, quint64{0}, ~quint64{0}, toSeed,
                QStringLiteral("a whole number from 0 to %1").arg(~quint64{0}));
    for (const ProbabilityOption& option : probabilityOptions)
        reader.read(option.name, options.faults.*option.value, 0.0, 1.0, toReal,
                    QLatin1String(probabilityRange));
    for (const IntegerOption& option : integerOptions)
        reader.read(option.name, options.faults.*option.value, option.lowest, option.highest,
                    toInteger, integerRange(option));
    for (const MomentOption& option : momentOptions) {
        double seconds = -1;
        reader.read(option.name, seconds, 0.0, highestMomentSeconds, toReal, momentRange());
        if (seconds >= 0)
            options.faults.*option.valueMs = static_cast<int>(std::lround(seconds * 1000));
    }
}

} // namespace

ModuleOptions parseModuleOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    ModuleOptions options;
    if (!parser.parse(arguments)) {
        options.message = parser.errorText() + QStringLiteral(" --help tells what is allowed.");
    } else if (parser.isSet("help")) {
        options.outcome = ModuleOptions::Outcome::Help;
        options.message = parser.helpText();
        return options;
    } else if (!parser.positionalArguments().isEmpty()) {
        options.message = QStringLiteral("\"%1\" is not allowed, only options; --help lists them")
                              .arg(parser.positionalArguments().constFirst());
    } else {
        ValueReader reader(parser, options.message);
        readValues(reader, options);
    }
    if (!options.message.isEmpty())
        options.outcome = ModuleOptions::Outcome::Error;
    return options;
}
