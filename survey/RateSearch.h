#pragma once

#include "survey/Trial.h"

#include <map>

/**
 * Finds the highest rate at which a link loses nothing, and the highest at which it loses no more
 * than a given share, in one search: each trial counts for both.
 *
 * The highest rate is tried first, then bisection goes on until the rate that has passed and the
 * next one that has not are one step apart. A rate found is tried a second time; when it fails then
 * it counts as not passed and the search goes on below. Pure; one thread at a time.
 */
class RateSearch
{
public:
    /** `highestRate` in pings a second, 1 to 1000. `partialLossPercent` 0 to 100. */
    RateSearch(int highestRate, double partialLossPercent);

    /** The rate of the next trial; nothing when both answers are there. */
    std::optional<int> next() const;
    /** Whether that trial tries a rate for the second time. */
    bool confirmsNext() const;
    /** What came of a trial, at whatever rate. */
    void take(const Trial& trial);

    /** The answers: 0 when not even 1 a second passed, nothing while it is not confirmed. */
    std::optional<int> lossless() const { return without.answer(); }
    std::optional<int> withPartialLoss() const { return some.answer(); }
    /** A guess at how many trials are still to come. */
    int trialsLeft() const;

    /** How far apart the rates tried around `rate` are at the end: 1, or 1 % where that is more. */
    static int step(int rate);

private:
    /** What is known by one measure of loss. */
    struct Bracket
    {
        double allowedLossPercent;
        int failedFrom;              ///< the lowest rate that has not passed
        std::map<int, int> passed{}; ///< times passed, by rates below that

        int best() const { return passed.empty() ? 0 : passed.rbegin()->first; }
        bool isNarrow() const { return failedFrom - best() <= step(best()); }
        bool needsConfirmation() const;
        std::optional<int> next(int highestRate) const;
        std::optional<int> answer() const;
        void take(const Trial& trial);
        int trialsLeft() const;
    };

    const Bracket& unfinished() const { return without.answer() ? some : without; }

    int highest;
    Bracket without;
    Bracket some;
};
