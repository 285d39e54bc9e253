#include "survey/search/SizeSurvey.h"

#include "engine/lineCapacity.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int highestRate = 1000;

double framesPerSecond(int sizeBytes, int baudRate)
{
    TestConfig config;
    config.minDataSize = config.maxDataSize = sizeBytes;
    // A module echoes what it receives, so both directions carry the same traffic.
    return baudRate / (meanFrameBytes(config) * bitsPerByte);
}

} // namespace

bool SizeResult::isHindered() const
{
    return std::any_of(trials.begin(), trials.end(), [](const Trial& trial) {
        return trial.purpose != TrialPurpose::Load && trial.isHindered() && !trial.passes(0);
    });
}

SizeSurvey::SizeSurvey(int sizeBytes, int baudRate, double partialLossPercent)
    : search(std::clamp(static_cast<int>(framesPerSecond(sizeBytes, baudRate)), 1, highestRate),
             partialLossPercent)
{
    known.sizeBytes = sizeBytes;
    known.capacity = framesPerSecond(sizeBytes, baudRate);
    known.highestRate = *search.next();
}

std::optional<SizeSurvey::Next> SizeSurvey::next() const
{
    if (const std::optional<int> rate = search.next())
        return Next{*rate,
                    search.confirmsNext() ? TrialPurpose::Confirmation : TrialPurpose::Search};
    if (known.comparison.moreAt)
        return Next{*known.comparison.moreAt, TrialPurpose::Comparison};
    if (fullLoad() == 0)
        return std::nullopt;
    for (const int percent : loadPercents) {
        if (trialAt(rateAt(percent)) == nullptr)
            return Next{rateAt(percent), TrialPurpose::Load};
    }
    return std::nullopt;
}

void SizeSurvey::take(const Trial& trial)
{
    known.trials.push_back(trial);
    if (trial.purpose == TrialPurpose::Search || trial.purpose == TrialPurpose::Confirmation)
        search.take(trial);
    known.lossless = search.lossless();
    known.withPartialLoss = search.withPartialLoss();
    if (!search.next() && trial.purpose != TrialPurpose::Load)
        known.comparison = compareLoss(known.trials, *known.lossless);
    known.complete = !next();
    if (!search.next() && !known.comparison.moreAt)
        takeLoads();
}

void SizeSurvey::takeLoads()
{
    known.loads.clear();
    if (fullLoad() == 0)
        return;
    for (const int percent : loadPercents) {
        if (const Trial* at = trialAt(rateAt(percent)))
            known.loads.push_back({percent, *at});
    }
}

int SizeSurvey::trialsLeft() const
{
    if (known.complete)
        return 0;
    const auto loadsLeft = static_cast<int>(loadPercents.size() - known.loads.size());
    return search.next() ? search.trialsLeft() + loadsLeft - 1 : loadsLeft;
}

/** The rate of the 100 % load; 0: there are no loads. */
int SizeSurvey::fullLoad() const
{
    return known.comparison.even ? known.comparison.even->packetsPerSecond : *known.lossless;
}

int SizeSurvey::rateAt(int percent) const
{
    return std::max(1, static_cast<int>(std::lround(fullLoad() * percent / 100.0)));
}

const Trial* SizeSurvey::trialAt(int rate) const
{
    const auto fits = [this, rate](const Trial& trial) {
        return trial.packetsPerSecond == rate && (trial.purpose == TrialPurpose::Load ||
                                                  trial.passes(known.comparison.even ? 100 : 0));
    };
    const auto last = std::find_if(known.trials.rbegin(), known.trials.rend(), fits);
    return last == known.trials.rend() ? nullptr : &*last;
}
