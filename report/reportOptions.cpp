#include "report/reportOptions.h"

#include "command/OptionReader.h"

#include <QCommandLineParser>
#include <QFileInfo>

namespace {

void addOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QStringLiteral(
        "Shows what reports of packetbrask-run say: one run, up to eight laid over each other, or "
        "a batch as a table; or one report of packetbrask-survey. Exit status: 0 when all was read "
        "and written, 1 when a report could not be read, 2 when none could or the usage was wrong, "
        "5 when something could not be written."));
    optionTexts::addHelp(parser);
    optionTexts::addVersion(parser);
    optionTexts::add(parser, "html",
                     "File for the page, which needs no other file and no network; - is standard "
                     "output.",
                     {}, "file");
    parser.addOption(
        {QStringLiteral("text"), QStringLiteral("Print it as text; so it is without --html too.")});
    optionTexts::add(parser, "by", "Name the runs by this tag, and group more than eight by it.",
                     {}, "tag");
    parser.addPositionalArgument(QStringLiteral("report"),
                                 QStringLiteral("Report that packetbrask-run or packetbrask-survey "
                                                "has written with --json."),
                                 QStringLiteral("report..."));
}

/** Returns what is wrong with `options`, in one line; empty: nothing. */
QString fault(const QCommandLineParser& parser, const ReportOptions& options)
{
    if (options.files.isEmpty())
        return QStringLiteral("no report is given; --help tells how");
    for (const char* name : {"html", "by"})
        if (parser.isSet(QLatin1String(name)) && parser.value(QLatin1String(name)).isEmpty())
            return QStringLiteral("--%1: \"\" is not allowed").arg(QLatin1String(name));
    if (options.onTerminal && options.htmlPath == u"-")
        return QStringLiteral(
            "--html: \"-\" is not allowed with --text, which needs standard output");
    const QString target = QFileInfo(options.htmlPath).canonicalFilePath(); // empty: no such file
    for (const QString& file : options.files)
        if (!target.isEmpty() && QFileInfo(file).canonicalFilePath() == target)
            return QStringLiteral("--html: \"%1\" is one of the reports").arg(options.htmlPath);
    return {};
}

} // namespace

ReportOptions parseReportOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    ReportOptions options;
    if (parseArguments(parser, arguments,
                       QStringLiteral("packetbrask-report " PROGRAM_VERSION "\n"),
                       options.message)) {
        options.outcome = ReportOptions::Outcome::ShowText;
        return options;
    }
    options.files = parser.positionalArguments();
    options.htmlPath = parser.value(QStringLiteral("html"));
    options.by = parser.value(QStringLiteral("by"));
    options.onTerminal =
        parser.isSet(QStringLiteral("text")) || !parser.isSet(QStringLiteral("html"));
    if (options.message.isEmpty())
        options.message = fault(parser, options);
    if (!options.message.isEmpty())
        options.outcome = ReportOptions::Outcome::Error;
    return options;
}
