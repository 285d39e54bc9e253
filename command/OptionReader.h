#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

#include <initializer_list>
#include <optional>
#include <span>

class QCommandLineParser;

/** An option that takes a whole number. */
struct IntegerOption
{
    const char* name;
    const char* unit;
    int lowest;
    int highest;
    const char* effect;
};

/**
 * Adds options to --help with their names, explanations and limits. Each function adds one or two
 * options.
 */
namespace optionTexts {

void addHelp(QCommandLineParser& parser);
void addVersion(QCommandLineParser& parser);
/** `initially` is the default value; without one, the help shows none. */
void addInteger(QCommandLineParser& parser, const IntegerOption& option,
                std::optional<int> initially = {});
/**
 * Adds an option with a value. `effect` explains it. `allowed` tells the allowed values; empty: the
 * help does not tell them. `initially` is the default value; empty: none.
 */
void add(QCommandLineParser& parser, const char* name, const char* effect, const QString& allowed,
         const char* unit, const QString& initially = {});
/** Returns "a number from `lowest` to `highest`". */
QString numberRange(double lowest, double highest);

} // namespace optionTexts

/**
 * Reads values from a parsed command line. It keeps only the first complaint, as one line. A value
 * that is not given or not allowed leaves its variable unchanged.
 */
class OptionReader
{
public:
    /** `parsed` and `complaint` are not owned. `complaint` may already hold a complaint. */
    OptionReader(const QCommandLineParser& parsed, QString& complaint)
        : parser(parsed), message(complaint)
    {
    }

    bool isSet(const char* name) const;
    void readInteger(const IntegerOption& option, int& value);
    /** Allows 0 to 2^64 - 1. */
    void readInteger(const char* name, quint64& value);
    /** Allows the numbers in `allowed`. `allowedText` describes them in complaints. */
    void readOneOf(const char* name, int& value, std::span<const int> allowed,
                   const QString& allowedText);
    /** Allows decimals. `allowedText` describes the range in complaints; empty: numberRange(). */
    void readNumber(const char* name, double& value, double lowest, double highest,
                    const QString& allowedText = {});
    /** Refuses an empty path. Without the option, `path` becomes empty. */
    void readPath(const char* name, QString& path);
    /** Reads every --tag into a map of values by keys. */
    void readTags(QMap<QString, QString>& tags);
    /** Refuses two options that name the same file. */
    void keepFilesApart(std::initializer_list<const char*> names);

    void complain(const QString& complaint);
    /** Complains about the option's value, or about `value` if given. */
    void refuse(const char* name, const QString& allowed);
    void refuse(const char* name, const QString& value, const QString& allowed);

private:
    bool isGiven(const char* name) const;
    void readTag(const QString& tag, QMap<QString, QString>& tags);

    const QCommandLineParser& parser;
    QString& message;
};

/**
 * Parses `arguments`, the program's name first, and handles --help, --version and syntax errors.
 * True: `message` is the help or the version, and there is nothing more to read. False: read the
 * options, unless `message` is not empty; it is then a complaint. `versionText` is empty for a
 * program without --version.
 */
bool parseArguments(QCommandLineParser& parser, const QStringList& arguments,
                    const QString& versionText, QString& message);

/**
 * Puts a complaint into `message` if there are arguments that are not options. A complaint already
 * there stays.
 */
void refusePositionals(const QCommandLineParser& parser, QString& message);
