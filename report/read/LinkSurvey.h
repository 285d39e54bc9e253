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

/** A trial: pings at one rate. */
struct SurveyTrial
{
    QString purpose; ///< a word from the report
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

/** A loss that is the same at all rates up to one. */
struct SurveyLoss
{
    QString text; ///< the report's description of it
    SurveyRate upTo{};
};

/** The results of a survey for one payload size. */
struct SurveySize
{
    int sizeBytes{};
    bool complete{};
    bool hindered{};   ///< the computer may have been too busy for the rates found
    double capacity{}; ///< pings per second that the line has room for
    std::optional<SurveyRate> withoutLoss{};
    std::optional<SurveyRate> withPartialLoss{};
    std::optional<SurveyLoss> evenLoss{}; ///< if it has a value, there is no rate without loss
    std::vector<SurveyLoad> loads{};
    std::vector<SurveyTrial> trials{};
};

/**
 * The content of one report of a survey. Texts come unchecked from the report, so escape them
 * before showing them.
 */
struct LinkSurvey : TestPlace
{
    QString path; ///< path of the report's file, as given
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
