#pragma once

#include "survey/search/SizeSurvey.h"

#include <QList>

/** Plans a whole survey, one payload size after the other. Pure; one thread at a time. */
class Survey
{
public:
    /** `sizesBytes` must not be empty; the other arguments as in SizeSurvey. */
    Survey(const QList<int>& sizesBytes, int baudRate, double partialLossPercent);

    struct Next
    {
        int sizeBytes;
        int place; ///< position of the size in the list, from 1
        int packetsPerSecond;
        TrialPurpose purpose;
    };
    /** Returns the next trial; no value when the survey is complete. */
    std::optional<Next> next() const;
    /**
     * Takes the result of the trial that next() asked for. Returns what is now known of its size.
     * Returns null if the trial does not count and must be repeated, because it failed while the
     * computer was busy. A rate is repeated at most three times for that.
     */
    const SizeResult* take(const Trial& trial);

    std::vector<SizeResult> results() const;
    /** Returns an estimate of the number of trials still to come. */
    int trialsLeft() const;

private:
    std::vector<SizeSurvey> sizes;
    std::size_t current = 0;
    int repeats = 0; ///< uncounted trials at repeatedRate
    int repeatedRate = 0;
};
