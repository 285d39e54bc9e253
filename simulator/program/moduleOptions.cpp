#include "simulator/program/moduleOptions.h"

#include "command/OptionReader.h"
#include "link/lineRates.h"

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

struct FaultOption
{
    IntegerOption option;
    int ModuleFaults::*value;
};

constexpr std::array<FaultOption, 4> integerOptions{{
    {{"delay", "ms", 0, 60000, "Hold every echo back."}, &ModuleFaults::delayMs},
    {{"jitter", "ms", 0, 60000, "Hold it back for up to so much more."}, &ModuleFaults::jitterMs},
    {{"drop-above", "rate", 1, 1000,
      "Take so many pings a second, evenly, and drop what comes faster."},
     &ModuleFaults::dropAbove},
    {{"baud", "rate", baudRates.front(), baudRates.back(),
      "Keep to this rate in each direction, 11 bits a byte."},
     &ModuleFaults::baudRate},
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

QString probabilityRange()
{
    return QStringLiteral("a probability from 0 to 1");
}

QString momentRange()
{
    return QStringLiteral("seconds from the start, 0 to %1").arg(highestMomentSeconds, 0, 'f', 0);
}

void addOptions(QCommandLineParser& parser)
{
    using optionTexts::add;
    parser.setApplicationDescription(
        QStringLiteral("A simulated display module on a pseudo-terminal, for trying out what talks "
                       "to one."));
    optionTexts::addHelp(parser);
    add(parser, "link", "Make this symbolic link to the line while running.", {}, "path");
    add(parser, "summary", "Write what has happened there at the end, as JSON.", {}, "file");
    add(parser, "ledger", "Write what has become of each ping there, as CSV.", {}, "file");
    add(parser, "seed", "Start of the random sequence, 0 if not given.", {}, "number");
    for (const ProbabilityOption& option : probabilityOptions)
        add(parser, option.name, option.effect, probabilityRange(), "probability");
    for (const FaultOption& fault : integerOptions)
        optionTexts::addInteger(parser, fault.option);
    for (const MomentOption& option : momentOptions)
        add(parser, option.name, option.effect, momentRange(), "seconds");
}

void readAll(OptionReader& reader, ModuleOptions& options)
{
    reader.readPath("link", options.linkPath);
    reader.readPath("summary", options.summaryPath);
    reader.readPath("ledger", options.ledgerPath);
    reader.readInteger("seed", options.faults.seed);
    for (const ProbabilityOption& option : probabilityOptions)
        reader.readNumber(option.name, options.faults.*option.value, 0, 1, probabilityRange());
    for (const FaultOption& fault : integerOptions)
        reader.readInteger(fault.option, options.faults.*fault.value);
    for (const MomentOption& option : momentOptions) {
        double seconds = -1;
        reader.readNumber(option.name, seconds, 0, highestMomentSeconds, momentRange());
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
    if (parseArguments(parser, arguments, {}, options.message)) {
        options.outcome = ModuleOptions::Outcome::Help;
        return options;
    }
    refusePositionals(parser, options.message);
    OptionReader reader(parser, options.message);
    if (options.message.isEmpty())
        readAll(reader, options);
    if (!options.message.isEmpty())
        options.outcome = ModuleOptions::Outcome::Error;
    return options;
}
