#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

#include <initializer_list>

class QCommandLineParser;

/** An option for a whole number. */
struct IntegerOption
{
    const char* name;
    const char* unit;
    int lowest;
    int highest;
    const char* effect;
};

inline constexpr IntegerOption timeoutOption{"timeout", "ms", 50, 5000,
                                             "A ping older than this is lost."};

/** What the options of several programs are called, do and allow; each adds one or two. */
namespace optionTexts {

void addHelpAndVersion(QCommandLineParser& parser);
void addPortAndBaud(QCommandLineParser& parser);
void addInteger(QCommandLineParser& parser, const IntegerOption& option, int initially);
void addTag(QCommandLineParser& parser);
void addQuiet(QCommandLineParser& parser);
/** Of an option with a value: what it does, and what is allowed where that is not empty. */
void add(QCommandLineParser& parser, const char* name, const char* effect, const QString& allowed,
         const char* unit, const QString& initially = {});
/** "a number from `lowest` to `highest`". */
QString numberRange(double lowest, double highest);

} // namespace optionTexts

/**
 * Takes values out of a parsed command line; the first complaint is kept, in one line. A value that
 * is not allowed leaves what it is for as it was.
 */
class OptionReader
{
public:
    /** Neither is owned. `complaint` may hold one already. */
    OptionReader(const QCommandLineParser& parsed, QString& complaint)
        : parser(parsed), message(complaint)
    {
    }

    /** `lister` is the command that shows which ports there are. */
    void readPort(QString& port, const QString& lister);
    void readBaud(int& baudRate);
    void readInteger(const IntegerOption& option, int& value);
    /** Decimals are allowed. */
    void readNumber(const char* name, double& value, double lowest, double highest);
    /** An empty path is refused. */
    void readPath(const char* name, QString& path);
    /** Every --tag, as values by keys. */
    void readTags(QMap<QString, QString>& tags);
    /** Refuses two options that name one file. */
    void keepFilesApart(std::initializer_list<const char*> names);

    void complain(const QString& complaint);
    /** Complains of the option's value, or of `value` in its place. */
    void refuse(const char* name, const QString& allowed);
    void refuse(const char* name, const QString& value, const QString& allowed);

private:
    void readTag(const QString& tag, QMap<QString, QString>& tags);
    void readInteger(const char* name, int& value, int lowest, int highest, const QString& allowed);

    const QCommandLineParser& parser;
    QString& message;
};

/**
 * Parses `arguments`, the program's name first, and looks after what is the same everywhere. True:
 * there is nothing more to read, `message` is the help or the version. False: a `message` that is
 * not empty is a complaint about what are no options at all.
 */
bool parseArguments(QCommandLineParser& parser, const QStringList& arguments,
                    const QString& versionText, QString& message);
