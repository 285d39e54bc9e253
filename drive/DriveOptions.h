#pragma once

#include "command/OptionReader.h"
#include "link/lineRates.h"

/** Command-line settings of every program that drives an engine. */
struct DriveOptions
{
    QString port; ///< path of the device
    int baudRate = usualBaudRate;
    QString reportPath;          ///< "-": standard output; empty: no report
    QMap<QString, QString> tags; ///< labels of the report; no key is empty
    bool quiet = false;          ///< errors and warnings only
};

inline constexpr IntegerOption timeoutOption{"timeout", "ms", 50, 5000,
                                             "A ping older than this is lost."};

/** Adds the options --port and --baud. */
void addLineOptions(QCommandLineParser& parser);
/** Adds the options --tag and --quiet. */
void addReportOptions(QCommandLineParser& parser);
/**
 * Reads --port, --baud, --tag, --quiet and --json. `lister` is the command that lists the ports.
 */
void readDriveOptions(OptionReader& reader, const QString& lister, DriveOptions& options);
