#pragma once

#include "survey/search/Trial.h"

#include <vector>

/** A number of pings at some rates, and how many of them were lost or not taken by the line. */
struct LossCount
{
    quint64 tried = 0;
    quint64 lost = 0;

    LossCount& operator+=(const LossCount& other);
};

/** A loss that is the same at all rates up to one. */
struct EvenLoss
{
    int packetsPerSecond = 0; ///< highest rate with this loss
    bool everyRate = false;   ///< that rate is the highest one tried
    LossCount count{};        ///< all pings up to that rate
};

/** Result of comparing the loss at different rates. */
struct LossComparison
{
    /** Whether loss depends on the rate. No value when that is unknown, as it is without losses. */
    std::optional<bool> dependsOnRate{};
    std::optional<EvenLoss> even{};
    /** The rate at which one more trial, with purpose Comparison, may decide; no value: none. */
    std::optional<int> moreAt{};
};

/**
 * Compares the loss in the `trials` of one size up to `lossless`, the answer of RateSearch, with
 * the loss above it. If the loss is not even up to the highest rate, it may still be even up to
 * another rate that was tried. docs/survey.md has the rules. Hindered trials do not count. Pure.
 */
LossComparison compareLoss(const std::vector<Trial>& trials, int lossless);

/**
 * Fisher's exact test, one-sided: the probability that at least as many of all losses are in `high`
 * if the loss is the same in both.
 */
double chanceOf(const LossCount& high, const LossCount& low);
