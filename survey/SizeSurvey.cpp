#include "survey/SizeSurvey.h"

#include "runner/lineCapacity.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int highestRate = 1000;

double framesPerSecond(int sizeBytes, int baudRate)
{
    TestConfig config;
    config.minDataSize = config.maxDataSize = sizeBytes;
    // A module echoes what it got, so both directions carry the same.
    return baudRate / (meanFrameBytes(config) * bitsPerByte);
}

} // namespace

bool SizeResult::isHindered() const
{
    return std::any_of(trials.begin(), trials.end(), [](const Trial& trial) {
        return trial.purpose != TrialPurpose::Load && trial.isHindered();
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
    if (known.lossless == 0)
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
    if (trial.purpose != TrialPurpose::Load)
        search.take(trial);
    known.lossless = search.lossless();
    known.withPartialLoss = search.withPartialLoss();
    known.complete = !next();
    if (search.next() || known.lossless == 0)
        return;
    known.loads.clear();
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

int SizeSurvey::rateAt(int percent) const
{
    return std::max(1, static_cast<int>(std::lround(*known.lossless * percent / 100.0)));
}

const Trial* SizeSurvey::trialAt(int rate) const
{
    const auto fits = [rate](const Trial& trial) {
        return trial.packetsPerSecond == rate &&
               (trial.purpose == TrialPurpose::Load || trial.passes(0));
    };
    const auto last = std::find_if(known.trials.rbegin(), known.trials.rend(), fits);
    return last == known.trials.rend() ? nullptr : &*last;
}
