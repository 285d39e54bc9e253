#pragma once

#include "survey/search/Trial.h"

#include <vector>

/** Pings at some rates, and how many of them were lost or not taken by the line. */
struct LossCount
{
    quint64 tried = 0;
    quint64 lost = 0;

    LossCount& operator+=(const LossCount& other);
};

/** A loss that is the same for all rates up to one. */
struct EvenLoss
{
    int packetsPerSecond = 0; ///< up to this one
    bool everyRate = false;   ///< it is the highest rate tried
    LossCount count{};        ///< of all pings up to that rate
};

/** Whether loss depends on the rate. */
struct LossComparison
{
    /** Nothing where that cannot be told, as it cannot without losses. */
    std::optional<bool> dependsOnRate{};
    std::optional<EvenLoss> even{};
    /** Where one more trial, of purpose Comparison, may tell. */
    std::optional<int> moreAt{};
};

/**
 * Compares the loss of the `trials` of one size up to `lossless`, the answer of RateSearch, with
 * the loss above it. When loss is not even up to the highest rate, it may still be up to another
 * that was tried. docs/survey.md has the rules. Trials that were hindered do not count. Pure.
 */
LossComparison compareLoss(const std::vector<Trial>& trials, int lossless);

/**
 * Fisher's exact test, one-sided: how likely at least that many of the losses of both are in `high`
 * if loss is the same in both.
 */
double chanceOf(const LossCount& high, const LossCount& low);
