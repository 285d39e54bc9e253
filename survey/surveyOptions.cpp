#include "survey/surveyOptions.h"

#include "engine/lineCapacity.h"
#include "engine/timing/TestConfig.h"
#include "measure/SurveyFormat.h"

#include <QCommandLineParser>

#include <algorithm>
#include <cmath>

namespace {

constexpr int smallestSize = 8;
constexpr int largestSize = 124;
constexpr double shortestTrial = 0.1;
constexpr double longestTrial = 60;

QString sizesRange()
{
    return QStringLiteral("whole numbers from %1 to %2 that differ, with commas between them")
        .arg(smallestSize)
        .arg(largestSize);
}

void addOptions(QCommandLineParser& parser)
{
    using optionTexts::add;
    parser.setApplicationDescription(QStringLiteral(
        "Surveys what the serial link of a display module carries: the highest rate of pings "
        "without loss, for payloads of several sizes, and the round trips below it."));
    optionTexts::addHelp(parser);
    optionTexts::addVersion(parser);
    addLineOptions(parser);
    add(parser, "sizes", "Payloads, in bytes.", sizesRange(), "list",
        QStringLiteral("8,16,32,64,124"));
    add(parser, "trial", "Length of each trial.",
        optionTexts::numberRange(shortestTrial, longestTrial), "s", QStringLiteral("5"));
    add(parser, "partial-loss", "Loss that the second rate searched for may have.",
        optionTexts::numberRange(0, 100), "percent", QStringLiteral("0.5"));
    optionTexts::addInteger(parser, timeoutOption, TestConfig{}.timeoutMs);
    add(parser, "json", "File for the report; - is standard output, in place of the table.", {},
        "file");
    addReportOptions(parser);
}

void readSizes(const QCommandLineParser& parser, OptionReader& reader, QList<int>& sizes)
{
    for (const QString& text : parser.value(QStringLiteral("sizes")).split(u',')) {
        bool ok = false;
        const int size = text.toInt(&ok);
        if (!ok || size < smallestSize || size > largestSize || sizes.contains(size))
            reader.refuse("sizes", sizesRange());
        sizes += size;
    }
}

/** Shortest possible time of a ping of the largest size and its echo, in milliseconds. */
double shortestRoundTripMs(const SurveyOptions& options)
{
    TestConfig config;
    config.minDataSize = config.maxDataSize =
        *std::max_element(options.sizesBytes.begin(), options.sizesBytes.end());
    return 2000 * meanFrameBytes(config) * bitsPerByte / options.baudRate;
}

void checkTimeout(OptionReader& reader, const SurveyOptions& options)
{
    const double takesMs = shortestRoundTripMs(options);
    if (options.timeoutMs <= takesMs)
        reader.refuse(
            "timeout",
            QStringLiteral("more than the %1 ms that the largest ping and its echo take at "
                           "%2 baud")
                .arg(std::ceil(takesMs))
                .arg(options.baudRate));
}

} // namespace

SurveyOptions parseSurveyOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    SurveyOptions options;
    if (parseArguments(parser, arguments,
                       SurveyFormat::program() + QStringLiteral(" " PROGRAM_VERSION "\n"),
                       options.message)) {
        options.outcome = SurveyOptions::Outcome::ShowText;
        return options;
    }
    refusePositionals(parser, options.message);
    if (options.message.isEmpty()) {
        OptionReader reader(parser, options.message);
        readDriveOptions(reader, QStringLiteral("packetbrask-run --list"), options);
        readSizes(parser, reader, options.sizesBytes);
        reader.readNumber("trial", options.trialSeconds, shortestTrial, longestTrial);
        reader.readNumber("partial-loss", options.partialLossPercent, 0, 100);
        reader.readInteger(timeoutOption, options.timeoutMs);
        checkTimeout(reader, options);
    }
    if (!options.message.isEmpty())
        options.outcome = SurveyOptions::Outcome::Error;
    return options;
}
