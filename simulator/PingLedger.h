#pragma once

#include "simulator/LedgerEntry.h"

#include <functional>
#include <map>

/**
 * Keeps the record of each ping until everything that the ping was to cause has happened, and hands
 * it over then. Plain value; one thread at a time.
 */
class PingLedger
{
public:
    using Taker = std::function<void(const LedgerEntry&)>;

    /** An empty `taker` makes a ledger that keeps nothing. */
    explicit PingLedger(Taker taker = {}) : hand(std::move(taker)) {}

    /** A ping with these data bytes has arrived. */
    void open(quint64 arrival, const QByteArray& data);
    /** `what` has happened to a ping; with `isLast` nothing more will. Nothing for one not open. */
    void add(quint64 arrival, const ModuleCounts& what, bool isLast);
    /** Hands over the records still open, as they are, in the order of arrival. */
    void close();

private:
    Taker hand;
    std::map<quint64, LedgerEntry> records; ///< by arrival
};
