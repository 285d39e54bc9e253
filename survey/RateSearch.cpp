#include "survey/RateSearch.h"

#include <algorithm>

RateSearch::RateSearch(int highestRate, double partialLossPercent)
    : highest(highestRate), without{.allowedLossPercent = 0, .failedFrom = highestRate + 1},
      some{.allowedLossPercent = partialLossPercent, .failedFrom = highestRate + 1}
{
}

std::optional<int> RateSearch::next() const
{
    return unfinished().next(highest);
}

bool RateSearch::confirmsNext() const
{
    return unfinished().needsConfirmation();
}

void RateSearch::take(const Trial& trial)
{
    without.take(trial);
    some.take(trial);
}

int RateSearch::trialsLeft() const
{
    if (without.failedFrom > highest && without.passed.empty())
        return 2; // most links carry what their line does
    return without.trialsLeft() + (without.best() == some.best() ? 0 : some.trialsLeft());
}

int RateSearch::step(int rate)
{
    return std::max(1, rate / 100);
}

bool RateSearch::Bracket::needsConfirmation() const
{
    return isNarrow() && best() > 0 && passed.rbegin()->second < 2;
}

std::optional<int> RateSearch::Bracket::next(int highestRate) const
{
    if (needsConfirmation())
        return best();
    if (isNarrow())
        return std::nullopt;
    return failedFrom > highestRate ? highestRate : (best() + failedFrom) / 2;
}

std::optional<int> RateSearch::Bracket::answer() const
{
    if (!isNarrow() || needsConfirmation())
        return std::nullopt;
    return best();
}

void RateSearch::Bracket::take(const Trial& trial)
{
    const int rate = trial.packetsPerSecond;
    if (rate >= failedFrom)
        return;
    if (trial.passes(allowedLossPercent)) {
        ++passed[rate];
    } else {
        failedFrom = rate;
        passed.erase(passed.lower_bound(rate), passed.end());
    }
}

int RateSearch::Bracket::trialsLeft() const
{
    int left = 0;
    for (int width = failedFrom - best(); width > step(best()); width = (width + 1) / 2)
        ++left;
    return left + (needsConfirmation() || left > 0 ? 1 : 0);
}
