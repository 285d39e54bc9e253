#pragma once

#include "simulator/LedgerEntry.h"

#include <functional>
#include <map>

/**
 * Keeps a record of each ping until everything that the ping causes has happened, and then hands it
 * over. Value type; one thread at a time.
 */
class PingLedger
{
public:
    using Taker = std::function<void(const LedgerEntry&)>;

    /** `taker` receives the records. With an empty one, no records are kept. */
    explicit PingLedger(Taker taker = {}) : hand(std::move(taker)) {}

    /** Begins the record of a ping that has arrived with these data bytes. */
    void open(quint64 arrival, const QByteArray& data);
    /**
     * Adds `what` to the record of a ping. With `isLast`, the record is complete and handed over.
     * Does nothing for a ping without an open record.
     */
    void add(quint64 arrival, const ModuleCounts& what, bool isLast);
    /** Hands over all open records as they are, in the order of arrival. */
    void close();

private:
    Taker hand;
    std::map<quint64, LedgerEntry> records; ///< key: arrival
};
