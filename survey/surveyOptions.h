#pragma once

#include "drive/DriveOptions.h"

#include <QList>
#include <QString>
#include <QStringList>

/** The command-line settings of packetbrask-survey. */
struct SurveyOptions : DriveOptions
{
    enum class Outcome { Run, ShowText, Error };

    Outcome outcome = Outcome::Run;
    QString message;                 ///< the help, the version, or a complaint in one line
    QList<int> sizesBytes;           ///< payload sizes, 8 to 124, each once; not empty
    double trialSeconds = 5;         ///< 0.1 to 60
    double partialLossPercent = 0.5; ///< 0 to 100
    int timeoutMs = 500;             ///< as in TestConfig
};

/**
 * Reads `arguments`, the program's name first. If an option other than --tag is given twice, the
 * last one counts.
 */
SurveyOptions parseSurveyOptions(const QStringList& arguments);
