#pragma once

#include <QtGlobal>

#include <optional>

/** The purpose of a trial. */
enum class TrialPurpose {
    Search,       ///< find a rate
    Confirmation, ///< try a rate again
    Comparison,   ///< find out whether the rate found loses as much as the higher rates
    Load,         ///< measure the round trips at a share of the rate found
};

/** The result of a trial: pings of one size at one rate. */
struct Trial
{
    int packetsPerSecond = 0; ///< 1 to 1000
    TrialPurpose purpose = TrialPurpose::Search;
    double seconds = 0; ///< from the start until sending ended
    quint64 sent = 0;
    quint64 received = 0;
    quint64 lost = 0;      ///< sent, but no unchanged echo came
    quint64 failed = 0;    ///< pings that the line did not take
    quint64 unsent = 0;    ///< due in that time at this rate, but neither sent nor failed
    bool cutShort = false; ///< ended early: more pings were lost than any answer allows
    // Of the round trips, in microseconds; no value without one.
    std::optional<double> p50Us{};
    std::optional<double> p99Us{};
    /** 99th percentile of how late pings left, in microseconds. No value when none left. */
    std::optional<double> sendLagP99Us{};
    /**
     * The shortest round trip, in microseconds, if every echo came after the time-out; else no
     * value.
     */
    std::optional<double> lateUs{};
    quint64 otherAnswers = 0; ///< other packets: late and changed echoes, error replies and more

    /** Whether pings left at the rate asked for: at most one, or one in 100, is missing. */
    bool keptRate() const;
    /**
     * Whether more than one ping in 100 left later than a quarter of the ping interval; with
     * intervals below 8 ms, later than 2 ms.
     */
    bool leftLate() const;
    /**
     * Whether the computer may have been busy: pings left late, or the rate was not kept and more
     * pings are missing than were lost or failed.
     */
    bool isHindered() const;
    /** Whether pings left but nothing at all came back. */
    bool isSilent() const { return sent > 0 && received + otherAnswers == 0; }
    /** Percentage of pings lost or failed; 100 when there were no pings. */
    double lossPercent() const;
    /** Whether the link carries this rate with at most `allowedLossPercent` of the pings lost. */
    bool passes(double allowedLossPercent) const;
};
