#pragma once

#include "survey/search/LossComparison.h"
#include "survey/search/RateSearch.h"

#include <array>
#include <vector>

/** At how many percent of the rate found the round trips are taken. */
inline constexpr std::array<int, 4> loadPercents{10, 50, 90, 100};

/** What is known of payloads of one size. */
struct SizeResult
{
    struct Load
    {
        int percent = 0; ///< one of loadPercents
        Trial trial;
    };

    int sizeBytes = 0;
    double capacity = 0;                  ///< pings a second that the line has room for
    int highestRate = 0;                  ///< the one tried first
    std::optional<int> lossless{};        ///< the answers of RateSearch
    std::optional<int> withPartialLoss{}; ///< likewise
    LossComparison comparison{};          ///< of all trials but those of the loads
    std::vector<Load> loads{};            ///< those taken so far; none where nothing passed
    std::vector<Trial> trials{};          ///< all of them, in their order
    bool complete = false;

    /** The rate without loss; nothing where the loss is even, for then it was found by chance. */
    std::optional<int> withoutLoss() const { return comparison.even ? std::nullopt : lossless; }
    /** Whether the computer was busy in a trial that failed, so that an answer may be too low. */
    bool isHindered() const;
    /** `rate` as a share of the capacity. */
    double sharePercent(int rate) const { return 100 * rate / capacity; }
};

/**
 * Decides which trials are made with payloads of one size: the search, where loss cannot be
 * compared without them a few more at the rate found, and then the loads, which are shares of the
 * rate without loss or of that up to which the loss is even. A load whose rate has been tried
 * without loss, or with the even one, takes its figures from that trial. Pure; one thread at a
 * time.
 */
class SizeSurvey
{
public:
    /** `sizeBytes` 8 to 124, on a line of `baudRate` bits per second; the loss as of RateSearch. */
    SizeSurvey(int sizeBytes, int baudRate, double partialLossPercent);

    struct Next
    {
        int packetsPerSecond;
        TrialPurpose purpose;
    };
    /** The next trial; nothing when all is known. */
    std::optional<Next> next() const;
    /** What came of it. */
    void take(const Trial& trial);

    const SizeResult& result() const { return known; }
    /** A guess at how many trials are still to come. */
    int trialsLeft() const;

private:
    void takeLoads();
    int fullLoad() const;
    int rateAt(int percent) const;
    const Trial* trialAt(int rate) const;

    RateSearch search;
    SizeResult known;
};
