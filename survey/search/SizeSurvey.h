#pragma once

#include "survey/search/LossComparison.h"
#include "survey/search/RateSearch.h"

#include <array>
#include <vector>

/** Loads at which the round trips are measured, in percent of the rate found. */
inline constexpr std::array<int, 4> loadPercents{10, 50, 90, 100};

/** The results for payloads of one size. */
struct SizeResult
{
    struct Load
    {
        int percent = 0; ///< one of loadPercents
        Trial trial;
    };

    int sizeBytes = 0;
    double capacity = 0;                  ///< pings per second that the line has room for
    int highestRate = 0;                  ///< first rate tried
    std::optional<int> lossless{};        ///< answer of RateSearch
    std::optional<int> withPartialLoss{}; ///< answer of RateSearch
    LossComparison comparison{};          ///< of all trials except the loads
    std::vector<Load> loads{};            ///< those measured so far; empty if no rate passed
    std::vector<Trial> trials{};          ///< all trials, in their order
    bool complete = false;

    /**
     * Returns the rate without loss. No value if the loss is even, because the rate was then found
     * by chance.
     */
    std::optional<int> withoutLoss() const { return comparison.even ? std::nullopt : lossless; }
    /**
     * Whether the computer was busy in a trial that failed, so that a rate found may be too low.
     */
    bool isHindered() const;
    /** `rate` in percent of the capacity. */
    double sharePercent(int rate) const { return 100 * rate / capacity; }
};

/**
 * Plans the trials with payloads of one size. First comes the search. If its trials are not enough
 * to compare losses, a few more at the rate found follow. Then come the loads, which are shares of
 * the rate without loss, or of the rate up to which the loss is even. If a load's rate has already
 * been tried without loss, or with the even loss, that trial is used for the load. Pure; one thread
 * at a time.
 */
class SizeSurvey
{
public:
    /**
     * `sizeBytes`: 8 to 124. `baudRate`: bits per second of the line. `partialLossPercent` as in
     * RateSearch.
     */
    SizeSurvey(int sizeBytes, int baudRate, double partialLossPercent);

    struct Next
    {
        int packetsPerSecond;
        TrialPurpose purpose;
    };
    /** Returns the next trial; no value when the size is complete. */
    std::optional<Next> next() const;
    /** Takes the result of the trial that next() asked for. */
    void take(const Trial& trial);

    const SizeResult& result() const { return known; }
    /** Returns an estimate of the number of trials still to come. */
    int trialsLeft() const;

private:
    void takeLoads();
    int fullLoad() const;
    int rateAt(int percent) const;
    const Trial* trialAt(int rate) const;

    RateSearch search;
    SizeResult known;
};
