#pragma once

#include "survey/search/Trial.h"

#include <map>

/**
 * Finds the highest rate at which a link loses nothing, and the highest at which it loses no more
 * than a given share, in one search: each trial counts for both.
 *
 * The highest rate is tried first, then bisection goes on until the rate that has passed and the
 * next one that has not are one step apart. A rate passes or fails by two trials of at most three:
 * one that has failed once is tried again at once, one that has passed once when it is the answer.
 * Pure; one thread at a time.
 */
class RateSearch
{
public:
    /** `highestRate` in pings a second, 1 to 1000. `partialLossPercent` 0 to 100. */
    RateSearch(int highestRate, double partialLossPercent);

    /** The rate of the next trial; nothing when both answers are there. */
    std::optional<int> next() const;
    /** Whether that rate has been tried before. */
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
    /** How often a rate was tried with what result. */
    struct Tries
    {
        int passed = 0;
        int failed = 0;

        /** Whether it has failed and may still pass. */
        bool isOpen() const { return failed > 0 && passed < 2; }
    };

    /** What is known by one measure of loss. */
    struct Bracket
    {
        double allowedLossPercent;
        int failedFrom;               ///< the lowest rate that has failed
        std::map<int, Tries> tries{}; ///< of the rates below that

        int best() const; ///< the highest rate that has passed and is not open, or 0
        bool isNarrow() const { return failedFrom - best() <= step(best()); }
        std::optional<int> again() const; ///< the rate to be tried once more
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
