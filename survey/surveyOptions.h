#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

/** What the command line of packetbrask-survey asks for. */
struct SurveyOptions
{
    enum class Outcome { Run, ShowText, Error };

    Outcome outcome = Outcome::Run;
    QString message; ///< the help, the version, or in one line what is wrong
    QString port;    ///< path of the device
    int baudRate = 115200;
    QList<int> sizesBytes;           ///< of payloads, 8 to 124, each once; not empty
    double trialSeconds = 5;         ///< 0.1 to 60
    double partialLossPercent = 0.5; ///< 0 to 100
    int timeoutMs = 500;             ///< as in TestConfig
    QString reportPath;              ///< "-": standard output; empty: no report
    QMap<QString, QString> tags;     ///< what the report is to be found by; no key is empty
    bool quiet = false;
};

/**
 * Reads `arguments`, the program's name first. Of an option given twice, tags excepted, the last
 * one counts.
 */
SurveyOptions parseSurveyOptions(const QStringList& arguments);
