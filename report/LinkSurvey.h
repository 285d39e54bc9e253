#pragma once

#include "report/TestPlace.h"

#include <QDateTime>
#include <QStringList>

#include <vector>

/** The round trips at a share of the rate found. */
struct SurveyLoad
{
    int percent = 0;
    int packetsPerSecond = 0;
    qint64 lost = 0;
    Figure p50Us{};
    Figure p99Us{};
};

/** Pings at one rate. */
struct SurveyTrial
{
    QString purpose; ///< a word of the report's
    int packetsPerSecond = 0;
    qint64 sent = 0, lost = 0, sendFailures = 0, unsent = 0;
    bool cutShort = false;
    Figure p50Us{};
    Figure p99Us{};
};

/** A rate found. */
struct SurveyRate
{
    int packetsPerSecond = 0;
    double capacityPercent = 0;
};

/** What a survey says of payloads of one size. */
struct SurveySize
{
    int sizeBytes = 0;
    bool complete = false;
    bool hindered = false; ///< the computer may have been too busy for the rates found
    double capacity = 0;   ///< pings a second that the line has room for
    std::optional<SurveyRate> withoutLoss{};
    std::optional<SurveyRate> withPartialLoss{};
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
    int baudRate = 0;
    double trialSeconds = 0;
    double partialLossPercent = 0;
    int timeoutMs = 0;
    QDateTime start, end;
    bool complete = false;
    QStringList reasons;
    std::vector<SurveySize> sizes;
};
