#include "command/OptionReader.h"

#include <QCommandLineParser>
#include <QDir>

#include <algorithm>

namespace {

QString integerRange(int lowest, int highest)
{
    return QStringLiteral("a whole number from %1 to %2").arg(lowest).arg(highest);
}

} // namespace

void optionTexts::addHelp(QCommandLineParser& parser)
{
    parser.addOption({{"h", "help"}, QStringLiteral("Show this help and end.")});
}

void optionTexts::addVersion(QCommandLineParser& parser)
{
    parser.addOption({{"v", "version"}, QStringLiteral("Show the version and end.")});
}

void optionTexts::addInteger(QCommandLineParser& parser, const IntegerOption& option,
                             std::optional<int> initially)
{
    add(parser, option.name, option.effect, integerRange(option.lowest, option.highest),
        option.unit, initially ? QString::number(*initially) : QString());
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

bool OptionReader::isSet(const char* name) const
{
    return parser.isSet(QLatin1String(name));
}

/** Whether the option has a value, given or default. */
bool OptionReader::isGiven(const char* name) const
{
    return isSet(name) || !parser.value(QLatin1String(name)).isEmpty();
}

void OptionReader::readInteger(const IntegerOption& option, int& value)
{
    if (!isGiven(option.name))
        return;
    bool ok = false;
    const int given = parser.value(QLatin1String(option.name)).toInt(&ok);
    if (ok && given >= option.lowest && given <= option.highest)
        value = given;
    else
        refuse(option.name, integerRange(option.lowest, option.highest));
}

void OptionReader::readInteger(const char* name, quint64& value)
{
    if (!isGiven(name))
        return;
    bool ok = false;
    const quint64 given = parser.value(QLatin1String(name)).toULongLong(&ok);
    if (ok)
        value = given;
    else
        refuse(name, QStringLiteral("a whole number from 0 to %1").arg(~quint64{0}));
}

void OptionReader::readOneOf(const char* name, int& value, std::span<const int> allowed,
                             const QString& allowedText)
{
    bool ok = false;
    const int given = parser.value(QLatin1String(name)).toInt(&ok);
    if (ok && std::find(allowed.begin(), allowed.end(), given) != allowed.end())
        value = given;
    else
        refuse(name, allowedText);
}

void OptionReader::readNumber(const char* name, double& value, double lowest, double highest,
                              const QString& allowedText)
{
    if (!isGiven(name))
        return;
    bool ok = false;
    const double given = parser.value(QLatin1String(name)).toDouble(&ok);
    // This form of the test also refuses NaN.
    if (ok && given >= lowest && given <= highest)
        value = given;
    else
        refuse(name,
               allowedText.isEmpty() ? optionTexts::numberRange(lowest, highest) : allowedText);
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
    const bool understood = parser.parse(arguments);
    if (understood && parser.isSet(QStringLiteral("help"))) {
        message = parser.helpText();
        return true;
    }
    if (understood && !versionText.isEmpty() && parser.isSet(QStringLiteral("version"))) {
        message = versionText;
        return true;
    }
    if (!understood)
        message = parser.errorText() + QStringLiteral(" --help tells what is allowed.");
    return false;
}

void refusePositionals(const QCommandLineParser& parser, QString& message)
{
    if (message.isEmpty() && !parser.positionalArguments().isEmpty())
        message = QStringLiteral("\"%1\" is not allowed, only options; --help lists them")
                      .arg(parser.positionalArguments().constFirst());
}
