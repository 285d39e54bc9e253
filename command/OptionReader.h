#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

#include <initializer_list>
#include <optional>
#include <span>

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

/** How options are named, explained and limited in --help; each function adds one or two. */
namespace optionTexts {

void addHelp(QCommandLineParser& parser);
void addVersion(QCommandLineParser& parser);
/** `initially`: what it is when it is not given; nothing: the help does not say. */
void addInteger(QCommandLineParser& parser, const IntegerOption& option,
                std::optional<int> initially = {});
/** Of an option with a value: what it does, and what is allowed where that is not empty. */
void add(QCommandLineParser& parser, const char* name, const char* effect, const QString& allowed,
         const char* unit, const QString& initially = {});
/** "a number from `lowest` to `highest`". */
QString numberRange(double lowest, double highest);

} // namespace optionTexts

/**
 * Takes values out of a parsed command line. The first complaint is kept, in one line. A value that
 * is not given, or not allowed, leaves its variable as it was.
 */
class OptionReader
{
public:
    /** Neither is owned. `complaint` may hold one already. */
    OptionReader(const QCommandLineParser& parsed, QString& complaint)
        : parser(parsed), message(complaint)
    {
    }

    bool isSet(const char* name) const;
    void readInteger(const IntegerOption& option, int& value);
    /** From 0 to 2^64 - 1. */
    void readInteger(const char* name, quint64& value);
    /** One of the numbers of `allowed`, which complaints tell as `allowedText`. */
    void readOneOf(const char* name, int& value, std::span<const int> allowed,
                   const QString& allowedText);
    /** Decimals are allowed. `allowedText` is the range in words; empty: numberRange(). */
    void readNumber(const char* name, double& value, double lowest, double highest,
                    const QString& allowedText = {});
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
    bool isGiven(const char* name) const;
    void readTag(const QString& tag, QMap<QString, QString>& tags);

    const QCommandLineParser& parser;
    QString& message;
};

/**
 * Parses `arguments`, the program's name first, and looks after what is the same everywhere. True:
 * there is nothing more to read, `message` is the help or the version. False: a `message` that is
 * not empty is a complaint. `versionText` is empty for a program without --version.
 */
bool parseArguments(QCommandLineParser& parser, const QStringList& arguments,
                    const QString& versionText, QString& message);

/** Complains in `message`, where there is no complaint yet, of arguments that are no options. */
void refusePositionals(const QCommandLineParser& parser, QString& message);
