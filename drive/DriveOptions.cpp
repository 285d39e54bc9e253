#include "drive/DriveOptions.h"

#include <QCommandLineParser>

#include <algorithm>

namespace {

QString baudList()
{
    QStringList rates;
    for (const int rate : baudRates)
        rates += QString::number(rate);
    return rates.join(QStringLiteral(", "));
}

} // namespace

void addLineOptions(QCommandLineParser& parser)
{
    optionTexts::add(parser, "port", "Device that the module is connected to.", {}, "path");
    optionTexts::add(parser, "baud", "Bits per second.", baudList(), "rate",
                     QString::number(usualBaudRate));
}

void addReportOptions(QCommandLineParser& parser)
{
    optionTexts::add(parser, "tag", "Goes into the report as it is; any number of times.", {},
                     "key=value");
    parser.addOption({QStringLiteral("quiet"), QStringLiteral("Print errors and warnings only.")});
}

void readDriveOptions(OptionReader& reader, const QString& lister, DriveOptions& options)
{
    reader.readPath("port", options.port);
    if (options.port.isEmpty())
        reader.complain(QStringLiteral("--port: missing, the path of a device has to be given; %1 "
                                       "shows which there are")
                            .arg(lister));
    reader.readOneOf("baud", options.baudRate, baudRates, baudList());
    reader.readPath("json", options.reportPath);
    reader.readTags(options.tags);
    options.quiet = reader.isSet("quiet");
}
