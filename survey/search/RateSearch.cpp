#include "survey/search/RateSearch.h"

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
    return unfinished().again().has_value();
}

void RateSearch::take(const Trial& trial)
{
    without.take(trial);
    some.take(trial);
}

int RateSearch::trialsLeft() const
{
    if (without.failedFrom > highest && without.tries.empty())
        return 2; // most links pass at the highest rate
    return without.trialsLeft() + (without.best() == some.best() ? 0 : some.trialsLeft());
}

int RateSearch::step(int rate)
{
    return std::max(1, rate / 100);
}

int RateSearch::Bracket::best() const
{
    const auto found = std::find_if(tries.rbegin(), tries.rend(),
                                    [](const auto& rate) { return !rate.second.isOpen(); });
    return found == tries.rend() ? 0 : found->first;
}

std::optional<int> RateSearch::Bracket::again() const
{
    if (tries.empty())
        return std::nullopt;
    const auto& [rate, tried] = *tries.rbegin();
    if (tried.isOpen() || (isNarrow() && tried.passed < 2))
        return rate;
    return std::nullopt;
}

std::optional<int> RateSearch::Bracket::next(int highestRate) const
{
    if (const std::optional<int> rate = again())
        return rate;
    if (isNarrow())
        return std::nullopt;
    return failedFrom > highestRate ? highestRate : (best() + failedFrom) / 2;
}

std::optional<int> RateSearch::Bracket::answer() const
{
    if (again() || !isNarrow())
        return std::nullopt;
    return best();
}

void RateSearch::Bracket::take(const Trial& trial)
{
    const int rate = trial.packetsPerSecond;
    if (rate >= failedFrom)
        return;
    Tries& tried = tries[rate];
    ++(trial.passes(allowedLossPercent) ? tried.passed : tried.failed);
    if (tried.failed < 2)
        return;
    failedFrom = rate;
    tries.erase(tries.lower_bound(rate), tries.end());
}

int RateSearch::Bracket::trialsLeft() const
{
    int left = 0;
    for (int width = failedFrom - best(); width > step(best()); width = (width + 1) / 2)
        ++left;
    return left + (again() || left > 0 ? 1 : 0);
}
