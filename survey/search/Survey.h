#pragma once

#include "survey/search/SizeSurvey.h"

#include <QDateTime>
#include <QJsonValue>
#include <QList>
#include <QStringList>

/** A whole survey: payloads of one size after the other. Pure; one thread at a time. */
class Survey
{
public:
    /** `sizesBytes` is not empty; the rest as of SizeSurvey. */
    Survey(const QList<int>& sizesBytes, int baudRate, double partialLossPercent);

    struct Next
    {
        int sizeBytes;
        int place; ///< of the size, from 1
        int packetsPerSecond;
        TrialPurpose purpose;
    };
    /** The next trial; nothing when all is known. */
    std::optional<Next> next() const;
    /**
     * What came of it. What is known of its size by then; null when the trial is to be made again
     * and does not count, because it failed while the computer was busy. A rate has three of those.
     */
    const SizeResult* take(const Trial& trial);

    std::vector<SizeResult> results() const;
    /** A guess at how many trials are still to come. */
    int trialsLeft() const;

private:
    std::vector<SizeSurvey> sizes;
    std::size_t current = 0;
    int repeats = 0; ///< of the rate tried last
    int repeatedRate = 0;
};

/** A moment of a survey. */
struct SurveyMoment
{
    double seconds = 0; ///< since the survey's start
    QDateTime time{};   ///< local time
};

/** What a survey leaves behind. */
struct SurveyOutcome
{
    std::vector<SizeResult> sizes{};
    QDateTime start{}; ///< local time
    QDateTime end{};
    std::optional<SurveyMoment> silentSince{}; ///< of the last echo, where the module fell silent
    QStringList reasons{}; ///< why it is incomplete or found no rate, one line each
    QJsonValue host{};     ///< see hostFacts()
    QJsonValue adapter{};  ///< see toJson(PortAdapter)
    int exitStatus = 0;

    bool isComplete() const;
};
