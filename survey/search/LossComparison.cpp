#include "survey/search/LossComparison.h"

#include <boost/math/distributions/hypergeometric.hpp>

#include <algorithm>
#include <map>

namespace {

constexpr double significant = 0.01;
/** Up to this chance a higher loss is not certain, but likely enough not to call it even. */
constexpr double likely = 0.2;
/**
 * Below this probability a difference is real, although the search selects trials by their losses.
 */
constexpr double certain = 1e-6;
/** Largest number of trials with purpose Comparison. */
constexpr int mostFresh = 4;

/** The counts of one size, relative to the rate found. */
class Rates
{
public:
    enum class Answer { Even, HigherAbove, Unclear, TooFewPings };

    Rates(const std::vector<Trial>& trials, int lossless)
    {
        for (const Trial& trial : trials) {
            if (trial.isHindered())
                continue;
            const LossCount count{trial.sent + trial.failed, trial.lost + trial.failed};
            counts[trial.packetsPerSecond] += count;
            if (trial.purpose == TrialPurpose::Comparison)
                fresh += count;
        }
        freshMade =
            static_cast<int>(std::count_if(trials.begin(), trials.end(), [](const Trial& trial) {
                return trial.purpose == TrialPurpose::Comparison;
            }));
        if (!counts.empty())
            found = std::max(lossless, counts.begin()->first);
    }

    /**
     * Whether a comparison is possible: there are pings above the rate found, and some but not all
     * are lost.
     */
    bool canCompare() const
    {
        if (counts.empty() || counts.rbegin()->first <= found)
            return false;
        const LossCount all = sum(0, counts.rbegin()->first);
        return all.lost > 0 && all.lost < all.tried;
    }
    int rateFound() const { return found; }
    bool wantsFresh() const { return freshMade < mostFresh; }
    /** Whether `rate` is at least 25 % above the rate found, so that pings there are meaningful. */
    bool isFar(int rate) const { return rate >= found + found / 4; }
    /**
     * Returns the rates to compare, highest first: the highest rate tried and all that are far
     * above the rate found.
     */
    std::vector<int> above() const
    {
        std::vector<int> rates{counts.rbegin()->first};
        for (auto rate = std::next(counts.rbegin()); rate != counts.rend(); ++rate) {
            if (rate->first > found && isFar(rate->first))
                rates.push_back(rate->first);
        }
        return rates;
    }
    /** Returns the sum of the counts from rate `first` to rate `last`. */
    LossCount sum(int first, int last) const
    {
        LossCount all;
        for (auto rate = counts.lower_bound(first); rate != counts.end() && rate->first <= last;
             ++rate)
            all += rate->second;
        return all;
    }
    /** Tells whether loss is even up to `rate`, which is above the rate found. */
    Answer compare(int rate) const
    {
        const LossCount low = sum(0, found);
        const LossCount high = sum(found + 1, rate);
        const double chance = chanceOf(high, low);
        if (chance < certain || chanceOf(sum(rate, rate), sum(found + 1, rate - 1)) < significant)
            return Answer::HigherAbove;
        if (chance >= significant) {
            if (low.lost == 0)
                return Answer::TooFewPings;
            const bool isEven = chanceOf(low, high) >= significant &&
                                chanceOf(sum(found, rate), sum(0, found - 1)) >= significant;
            return isEven ? Answer::Even : Answer::Unclear;
        }
        // The search selected rates by their losses, so only new trials can decide.
        if (wantsFresh())
            return Answer::TooFewPings;
        const double freshChance = chanceOf(high, fresh);
        if (freshChance < significant)
            return Answer::HigherAbove;
        return freshChance >= likely && fresh.lost > 0 ? Answer::Even : Answer::Unclear;
    }

private:
    std::map<int, LossCount> counts; ///< by rate
    LossCount fresh;
    int freshMade = 0;
    int found = 0; ///< the rate found; the lowest rate tried if none passed
};

} // namespace

LossCount& LossCount::operator+=(const LossCount& other)
{
    tried += other.tried;
    lost += other.lost;
    return *this;
}

LossComparison compareLoss(const std::vector<Trial>& trials, int lossless)
{
    LossComparison result;
    const Rates rates(trials, lossless);
    if (!rates.canCompare())
        return result;
    const std::vector<int> above = rates.above();
    for (const int rate : above) {
        const Rates::Answer answer = rates.compare(rate);
        if (answer == Rates::Answer::HigherAbove) {
            result.dependsOnRate = true;
            continue;
        }
        const bool everyRate = rate == above.front();
        if (answer == Rates::Answer::TooFewPings && rates.isFar(rate) && rates.wantsFresh()) {
            result.moreAt = rates.rateFound();
        } else if (answer == Rates::Answer::Even) {
            result.even = {rate, everyRate, rates.sum(0, rate)};
            if (everyRate)
                result.dependsOnRate = false;
        }
        break;
    }
    return result;
}

double chanceOf(const LossCount& high, const LossCount& low)
{
    const auto tried = static_cast<unsigned>(high.tried);
    const auto lost = static_cast<unsigned>(high.lost + low.lost);
    const auto all = static_cast<unsigned>(high.tried + low.tried);
    const unsigned fewest = lost + tried > all ? lost + tried - all : 0;
    if (high.lost <= fewest)
        return 1; // `high` cannot have fewer losses
    const boost::math::hypergeometric_distribution<> chance(lost, tried, all);
    return cdf(complement(chance, high.lost - 1));
}
