#pragma once

#include "command/OptionReader.h"
#include "link/lineRates.h"

/** What the command line of every program asks for that drives an engine. */
struct DriveOptions
{
    QString port; ///< path of the device
    int baudRate = usualBaudRate;
    QString reportPath;          ///< "-": standard output; empty: no report
    QMap<QString, QString> tags; ///< what the report is to be found by; no key is empty
    bool quiet = false;          ///< errors and warnings only
};

inline constexpr IntegerOption timeoutOption{"timeout", "ms", 50, 5000,
                                             "A ping older than this is lost."};

/** Adds --port and --baud. */
void addLineOptions(QCommandLineParser& parser);
/** Adds --tag and --quiet. */
void addReportOptions(QCommandLineParser& parser);
/** Reads those and --json. `lister` is the command that shows which ports there are. */
void readDriveOptions(OptionReader& reader, const QString& lister, DriveOptions& options);
