#pragma once

#include "drive/DriveOptions.h"

#include <QList>
#include <QString>
#include <QStringList>

/** What the command line of packetbrask-survey asks for. */
struct SurveyOptions : DriveOptions
{
    enum class Outcome { Run, ShowText, Error };

    Outcome outcome = Outcome::Run;
    QString message;                 ///< the help, the version, or in one line what is wrong
    QList<int> sizesBytes;           ///< of payloads, 8 to 124, each once; not empty
    double trialSeconds = 5;         ///< 0.1 to 60
    double partialLossPercent = 0.5; ///< 0 to 100
    int timeoutMs = 500;             ///< as in TestConfig
};

/**
 * Reads `arguments`, the program's name first. Of an option given twice, tags excepted, the last
 * one counts.
 */
SurveyOptions parseSurveyOptions(const QStringList& arguments);
