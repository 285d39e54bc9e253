#pragma once

#include "engine/timing/TestConfig.h"
#include "simulator/ModuleFaults.h"

#include <array>
#include <cmath>
#include <random>

/** Draws that are the same with every standard library. */
struct Dice
{
    std::mt19937_64 numbers;

    int upTo(int high) { return static_cast<int>(numbers() % (static_cast<quint64>(high) + 1)); }
    double fraction() { return static_cast<double>(numbers() >> 11U) * 0x1p-53; }
    bool happens(double probability) { return fraction() < probability; }
    /** Each order of magnitude is as likely as the next; both ends above 0. */
    double scaled(double low, double high) { return low * std::pow(high / low, fraction()); }

    ModuleFaults faults()
    {
        constexpr std::array rates{0, 0, 0, 0, 0, 0, 1200, 2400, 4800, 9600, 38400, 115200};
        ModuleFaults drawn{.seed = numbers()};
        using F = ModuleFaults;
        for (double F::*fault : {&F::drop, &F::corrupt, &F::alter, &F::truncate, &F::duplicate,
                                 &F::garbage, &F::errorReply, &F::report, &F::split})
            drawn.*fault = happens(0.3) ? scaled(0.005, 0.5) : 0;
        drawn.delayMs = happens(0.3) ? static_cast<int>(scaled(1, 1000)) : 0;
        drawn.jitterMs = happens(0.3) ? static_cast<int>(scaled(1, 500)) : 0;
        drawn.baudRate = rates.at(static_cast<size_t>(upTo(rates.size() - 1)));
        return happens(0.1) ? ModuleFaults{} : drawn;
    }

    TestConfig config(bool endsByItself)
    {
        TestConfig drawn;
        drawn.packetsPerSecond = happens(0.5) ? 1 + upTo(999) : static_cast<int>(scaled(1, 1000));
        drawn.maxDataSize = upTo(124);
        drawn.minDataSize = upTo(drawn.maxDataSize);
        drawn.timeoutMs = static_cast<int>(scaled(50, 1000));
        drawn.durationSec = endsByItself ? 3 + upTo(3) : 0;
        return drawn;
    }
};
