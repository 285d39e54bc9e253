#pragma once

#include "report/read/TestPlace.h"

#include <QDateTime>
#include <QStringList>

#include <vector>

/** The round trips at a share of the rate found. */
struct SurveyLoad
{
    int percent{};
    int packetsPerSecond{};
    qint64 lost{};
    Figure p50Us{};
    Figure p99Us{};
};

/** Pings at one rate. */
struct SurveyTrial
{
    QString purpose; ///< a word of the report's
    int packetsPerSecond{};
    qint64 sent{}, lost{}, sendFailures{}, unsent{};
    bool cutShort{};
    Figure p50Us{};
    Figure p99Us{};
};

/** A rate found. */
struct SurveyRate
{
    int packetsPerSecond{};
    double capacityPercent{};
};

/** A loss that is the same at every rate up to one. */
struct SurveyLoss
{
    QString text; ///< the report's words for it
    SurveyRate upTo{};
};

/** What a survey says of payloads of one size. */
struct SurveySize
{
    int sizeBytes{};
    bool complete{};
    bool hindered{};   ///< the computer may have been too busy for the rates found
    double capacity{}; ///< pings a second that the line has room for
    std::optional<SurveyRate> withoutLoss{};
    std::optional<SurveyRate> withPartialLoss{};
    std::optional<SurveyLoss> evenLoss{}; ///< then there is no rate without loss
    std::vector<SurveyLoad> loads{};
    std::vector<SurveyTrial> trials{};
};

/** What one report of a survey says. Texts are as the report has them, so nothing about them is
 * safe to show. */
struct LinkSurvey : TestPlace
{
    QString path; ///< of the report's file, as given
    QString version;
    QString port;
    int baudRate{};
    double trialSeconds{};
    double partialLossPercent{};
    int timeoutMs{};
    QDateTime start, end;
    bool complete{};
    QStringList reasons;
    std::vector<SurveySize> sizes;
};
