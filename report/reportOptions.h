#pragma once

#include <QString>
#include <QStringList>

/** The command-line settings of packetbrask-report. */
struct ReportOptions
{
    enum class Outcome { Report, ShowText, Error };

    Outcome outcome = Outcome::Report;
    QString message;         ///< the help, the version, or a complaint in one line
    QStringList files;       ///< the reports, as given; at least one
    QString htmlPath;        ///< "-": standard output; empty: no page
    bool onTerminal = false; ///< print the text report
    QString by;              ///< the tag that groups a batch; empty: none
};

/** Reads `arguments`, the program's name first. Without --html, the text report is printed. */
ReportOptions parseReportOptions(const QStringList& arguments);
