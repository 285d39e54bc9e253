#pragma once

#include <QString>
#include <QStringList>

/** What the command line of packetbrask-report asks for. */
struct ReportOptions
{
    enum class Outcome { Report, ShowText, Error };

    Outcome outcome = Outcome::Report;
    QString message;         ///< the help, the version, or in one line what is wrong
    QStringList files;       ///< the reports, as given; at least one
    QString htmlPath;        ///< "-": standard output; empty: no page
    bool onTerminal = false; ///< print the text report
    QString by;              ///< a tag; empty: none
};

/** Reads `arguments`, the program's name first. Without --html the text is asked for. */
ReportOptions parseReportOptions(const QStringList& arguments);
