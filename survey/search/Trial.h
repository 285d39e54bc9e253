#pragma once

#include <QtGlobal>

#include <optional>

/** What one trial is made for. */
enum class TrialPurpose {
    Search,       ///< to find a rate
    Confirmation, ///< a rate that has been tried before
    Comparison,   ///< whether the rate found loses as much as those above it
    Load,         ///< the round trips at a share of the rate found
};

/** What became of a trial: pings of one size at one rate. */
struct Trial
{
    int packetsPerSecond = 0; ///< 1 to 1000
    TrialPurpose purpose = TrialPurpose::Search;
    double seconds = 0; ///< from the start until no more pings were sent
    quint64 sent = 0;
    quint64 received = 0;
    quint64 lost = 0;      ///< sent, and no unchanged echo
    quint64 failed = 0;    ///< the line did not take them
    quint64 unsent = 0;    ///< fewer than the rate asks for in that time, `failed` aside
    bool cutShort = false; ///< more were lost before its end than any answer allows
    // Of the round trips, in microseconds; nothing without one.
    std::optional<double> p50Us{};
    std::optional<double> p99Us{};
    /** How late pings left, in microseconds: 99 of 100 no later. Nothing when none left. */
    std::optional<double> sendLagP99Us{};
    /** The shortest round trip, in microseconds, where every echo came after the time-out. */
    std::optional<double> lateUs{};
    quint64 otherAnswers = 0; ///< whatever else came back: late and changed echoes, error replies

    /** Whether pings left at the rate asked for: all but one, or one of 100. */
    bool keptRate() const;
    /** Whether more than one ping of 100 left later than a quarter of the interval, 2 ms at least.
     */
    bool leftLate() const;
    /** Whether the computer may have been busy: pings left late, or more were left out than lost.
     */
    bool isHindered() const;
    /** Whether pings left and nothing at all came back. */
    bool isSilent() const { return sent > 0 && received + otherAnswers == 0; }
    /** Pings lost or failed of 100; 100 when there was none. */
    double lossPercent() const;
    /** Whether the link carries this rate and loses no more than so many of 100. */
    bool passes(double allowedLossPercent) const;
};
