#include "survey/search/Survey.h"

#include <algorithm>

namespace {

/** Largest number of repeated trials at one rate that failed while the computer was busy. */
constexpr int mostRepeats = 3;

} // namespace

Survey::Survey(const QList<int>& sizesBytes, int baudRate, double partialLossPercent)
{
    for (const int size : sizesBytes)
        sizes.emplace_back(size, baudRate, partialLossPercent);
}

std::optional<Survey::Next> Survey::next() const
{
    if (current == sizes.size())
        return std::nullopt;
    const SizeSurvey& size = sizes[current];
    const SizeSurvey::Next trial = *size.next();
    return Next{size.result().sizeBytes, static_cast<int>(current) + 1, trial.packetsPerSecond,
                trial.purpose};
}

const SizeResult* Survey::take(const Trial& trial)
{
    if (trial.packetsPerSecond != repeatedRate)
        repeats = 0;
    repeatedRate = trial.packetsPerSecond;
    if (trial.isHindered() && !trial.passes(0) && repeats < mostRepeats) {
        ++repeats;
        return nullptr;
    }
    SizeSurvey& size = sizes[current];
    size.take(trial);
    if (size.result().complete) {
        ++current;
        repeatedRate = 0;
    }
    return &size.result();
}

std::vector<SizeResult> Survey::results() const
{
    std::vector<SizeResult> all;
    for (const SizeSurvey& size : sizes)
        all.push_back(size.result());
    return all;
}

int Survey::trialsLeft() const
{
    int left = 0;
    for (const SizeSurvey& size : sizes)
        left += size.trialsLeft();
    return left;
}
