#include "soak/SessionPlan.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr std::array baudRates{1200, 1800, 2400, 4800, 9600, 19200, 38400, 115200};
constexpr int maxPayload = 124;

/** Draws that are the same with every standard library. */
class Dice
{
public:
    explicit Dice(std::mt19937_64& source) : generator(source) {}

    int between(int low, int high)
    {
        const auto choices = static_cast<quint64>(high - low) + 1;
        return low + static_cast<int>(generator() % choices);
    }
    double fraction() { return static_cast<double>(generator() >> 11U) * 0x1p-53; }
    bool happens(double probability) { return fraction() < probability; }
    /** Each order of magnitude is as likely as the next; both ends above 0. */
    double scaled(double low, double high) { return low * std::pow(high / low, fraction()); }
    int baudRate() { return baudRates.at(static_cast<size_t>(between(0, baudRates.size() - 1))); }

private:
    std::mt19937_64& generator;
};

ModuleFaults drawFaults(Dice& dice)
{
    constexpr double used = 0.3;
    ModuleFaults faults;
    faults.seed = static_cast<quint64>(dice.between(0, 1'000'000));
    for (double ModuleFaults::*fault :
         {&ModuleFaults::drop, &ModuleFaults::corrupt, &ModuleFaults::alter,
          &ModuleFaults::truncate, &ModuleFaults::duplicate, &ModuleFaults::garbage,
          &ModuleFaults::errorReply, &ModuleFaults::report, &ModuleFaults::split}) {
        if (dice.happens(used))
            faults.*fault = dice.scaled(0.005, 0.5);
    }
    if (dice.happens(used))
        faults.delayMs = static_cast<int>(dice.scaled(1, 1000));
    if (dice.happens(used))
        faults.jitterMs = static_cast<int>(dice.scaled(1, 500));
    if (dice.happens(0.4))
        faults.baudRate = dice.baudRate();
    return faults;
}

RunPlan drawRun(Dice& dice)
{
    constexpr int endings = static_cast<int>(Ending::StallAndDisconnect) + 1;
    constexpr int asides = static_cast<int>(Aside::Refresh) + 1;
    RunPlan run;
    run.config.packetsPerSecond = dice.happens(0.5)
                                      ? dice.between(1, 1000)
                                      : static_cast<int>(std::lround(dice.scaled(1, 1000)));
    run.config.maxDataSize = dice.between(0, maxPayload);
    run.config.minDataSize = dice.between(0, run.config.maxDataSize);
    run.config.timeoutMs = static_cast<int>(dice.scaled(50, 1000));
    // An orderly ending leaves an account that can be checked to the frame.
    run.ending = dice.happens(0.75) ? static_cast<Ending>(dice.between(0, 2))
                                    : static_cast<Ending>(dice.between(3, endings - 1));
    run.endingAfterMs = dice.between(0, 6000);
    if (run.ending == Ending::Duration) {
        run.config.durationSec = dice.between(1, 6);
        run.endingAfterMs = run.config.durationSec * 1000;
    }
    run.troubleMs = dice.between(0, 1000);
    run.aside = static_cast<Aside>(dice.between(0, asides - 1));
    run.asideAfterMs = run.endingAfterMs * dice.between(0, 90) / 100;
    return run;
}

} // namespace

SessionPlan drawSession(std::mt19937_64& generator)
{
    Dice dice(generator);
    SessionPlan plan;
    plan.faults = dice.happens(0.1) ? ModuleFaults{} : drawFaults(dice);
    plan.tryBeforePlugged = dice.happens(0.1);
    plan.baudRate = dice.baudRate();
    plan.idleMs = dice.between(0, 1500);
    plan.unplugWhileIdle = dice.happens(0.05);
    const int runs = dice.between(1, 2);
    for (int i = 0; i < runs; ++i)
        plan.runs += drawRun(dice);
    return plan;
}
