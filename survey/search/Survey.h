#pragma once

#include "survey/search/SizeSurvey.h"

#include <QList>

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
