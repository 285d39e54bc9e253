#include "command/OptionReader.h"

#include <QCommandLineParser>
#include <QDir>

#include <algorithm>
#include <array>

namespace {

constexpr std::array<int, 8> baudRates{1200, 1800, 2400, 4800, 9600, 19200, 38400, 115200};

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

} // namespace

void optionTexts::addHelpAndVersion(QCommandLineParser& parser)
{
    parser.addOption({{"h", "help"}, QStringLiteral("Show this help and end.")});
    parser.addOption({{"v", "version"}, QStringLiteral("Show the version and end.")});
}

void optionTexts::addPortAndBaud(QCommandLineParser& parser)
{
    add(parser, "port", "Device that the module is connected to.", {}, "path");
    add(parser, "baud", "Bits per second.", baudList(), "rate", QStringLiteral("115200"));
}

void optionTexts::addInteger(QCommandLineParser& parser, const IntegerOption& option, int initially)
{
    add(parser, option.name, option.effect, integerRange(option.lowest, option.highest),
        option.unit, QString::number(initially));
}

void optionTexts::addTag(QCommandLineParser& parser)
{
    add(parser, "tag", "Goes into the report as it is; any number of times.", {}, "key=value");
}

void optionTexts::addQuiet(QCommandLineParser& parser)
{
    parser.addOption({QStringLiteral("quiet"), QStringLiteral("Print errors and warnings only.")});
}

void optionTexts::add(QCommandLineParser& parser, const char* name, const char* effect,
                      const QString& allowed, const char* unit, const QString& initially)
{
    const QString text =
        allowed.isEmpty() ? QString(QLatin1String(effect))
                          : QStringLiteral("%1 Allowed: %2.").arg(QLatin1String(effect), allowed);
    parser.addOption({QLatin1String(name), text, QLatin1String(unit), initially});
}

QString optionTexts::numberRange(double lowest, double highest)
{
    return QStringLiteral("a number from %1 to %2").arg(lowest).arg(highest);
}

void OptionReader::readPort(QString& port, const QString& lister)
{
    readPath("port", port);
    if (port.isEmpty())
        complain(QStringLiteral("--port: missing, the path of a device has to be given; %1 shows "
                                "which there are")
                     .arg(lister));
}

void OptionReader::readBaud(int& baudRate)
{
    readInteger("baud", baudRate, baudRates.front(), baudRates.back(), baudList());
    if (std::find(baudRates.begin(), baudRates.end(), baudRate) == baudRates.end())
        refuse("baud", baudList());
}

void OptionReader::readInteger(const IntegerOption& option, int& value)
{
    readInteger(option.name, value, option.lowest, option.highest,
                integerRange(option.lowest, option.highest));
}

void OptionReader::readInteger(const char* name, int& value, int lowest, int highest,
                               const QString& allowed)
{
    bool ok = false;
    const int given = parser.value(QLatin1String(name)).toInt(&ok);
    if (ok && given >= lowest && given <= highest)
        value = given;
    else
        refuse(name, allowed);
}

void OptionReader::readNumber(const char* name, double& value, double lowest, double highest)
{
    bool ok = false;
    const double given = parser.value(QLatin1String(name)).toDouble(&ok);
    // Written so that what is not a number at all is refused.
    if (ok && given >= lowest && given <= highest)
        value = given;
    else
        refuse(name, optionTexts::numberRange(lowest, highest));
}

void OptionReader::readPath(const char* name, QString& path)
{
    path = parser.value(QLatin1String(name));
    if (parser.isSet(QLatin1String(name)) && path.isEmpty())
        refuse(name, QStringLiteral("a path"));
}

void OptionReader::readTags(QMap<QString, QString>& tags)
{
    for (const QString& tag : parser.values(QStringLiteral("tag")))
        readTag(tag, tags);
}

void OptionReader::readTag(const QString& tag, QMap<QString, QString>& tags)
{
    const qsizetype keyLength = tag.indexOf(u'=');
    if (keyLength <= 0)
        refuse("tag", tag, QStringLiteral("a key, = and a value"));
    else if (tags.contains(tag.left(keyLength)))
        refuse("tag", tag, QStringLiteral("keys that differ"));
    else
        tags.insert(tag.left(keyLength), tag.mid(keyLength + 1));
}

void OptionReader::keepFilesApart(std::initializer_list<const char*> names)
{
    QMap<QString, QLatin1String> takenBy;
    for (const char* name : names) {
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

void OptionReader::complain(const QString& complaint)
{
    if (message.isEmpty())
        message = complaint;
}

void OptionReader::refuse(const char* name, const QString& allowed)
{
    refuse(name, parser.value(QLatin1String(name)), allowed);
}

void OptionReader::refuse(const char* name, const QString& value, const QString& allowed)
{
    complain(QStringLiteral("--%1: \"%2\" is not allowed, only %3")
                 .arg(QLatin1String(name), value, allowed));
}

bool parseArguments(QCommandLineParser& parser, const QStringList& arguments,
                    const QString& versionText, QString& message)
{
    if (!parser.parse(arguments)) {
        message = parser.errorText() + QStringLiteral(" --help tells what is allowed.");
    } else if (parser.isSet(QStringLiteral("help"))) {
        message = parser.helpText();
        return true;
    } else if (parser.isSet(QStringLiteral("version"))) {
        message = versionText;
        return true;
    } else if (!parser.positionalArguments().isEmpty()) {
        message = QStringLiteral("\"%1\" is not allowed, only options; --help lists them")
                      .arg(parser.positionalArguments().constFirst());
    }
    return false;
}
