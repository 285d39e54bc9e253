#pragma once

#include "survey/search/Trial.h"

#include <map>

/**
 * Finds the highest rate at which a link loses nothing, and the highest at which it loses at most a
 * given share. One search finds both: each trial counts for both.
 *
 * The highest rate is tried first. Then bisection continues until the highest rate that passed and
 * the lowest that failed are at most one step apart. A rate passes or fails by two of at most three
 * trials. A rate that failed once is tried again at once; a rate that passed once is tried again
 * when it is the answer. Pure; one thread at a time.
 */
class RateSearch
{
public:
    /** `highestRate`: pings per second, 1 to 1000. `partialLossPercent`: 0 to 100. */
    RateSearch(int highestRate, double partialLossPercent);

    /** Returns the rate of the next trial; no value when both answers are known. */
    std::optional<int> next() const;
    /** Whether the rate of next() has been tried before. */
    bool confirmsNext() const;
    /** Takes the result of a trial, at any rate. */
    void take(const Trial& trial);

    /** The answers: 0 when not even 1 ping per second passed; no value while not confirmed. */
    std::optional<int> lossless() const { return without.answer(); }
    std::optional<int> withPartialLoss() const { return some.answer(); }
    /** Returns an estimate of the number of trials still to come. */
    int trialsLeft() const;

    /** Final distance between the rates tried around `rate`: 1, or 1 % of it if that is more. */
    static int step(int rate);

private:
    /** The numbers of trials at one rate that passed and that failed. */
    struct Tries
    {
        int passed = 0;
        int failed = 0;

        /** Whether the rate has failed once and may still pass. */
        bool isOpen() const { return failed > 0 && passed < 2; }
    };

    /** The state of the search for one allowed loss. */
    struct Bracket
    {
        double allowedLossPercent;
        int failedFrom;               ///< lowest rate that has failed
        std::map<int, Tries> tries{}; ///< by rate, for the rates below `failedFrom`

        int best() const; ///< highest rate that has passed and is not open; 0: none
        bool isNarrow() const { return failedFrom - best() <= step(best()); }
        std::optional<int> again() const; ///< the rate to be tried again; no value: none
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
