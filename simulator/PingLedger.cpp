#include "simulator/PingLedger.h"

#include "link/SteadyClock.h"

#include <QByteArray>
#include <QtEndian>

#include <algorithm>
#include <array>

namespace {

quint64 numberIn(const QByteArray& data)
{
    std::array<char, sizeof(quint64)> bytes{};
    std::copy_n(data.begin(), std::min<qsizetype>(data.size(), bytes.size()), bytes.begin());
    return qFromLittleEndian<quint64>(bytes.data());
}

} // namespace

void PingLedger::open(quint64 arrival, const QByteArray& data)
{
    if (!hand)
        return;
    LedgerEntry& record = records[arrival];
    record.arrival = arrival;
    record.number = numberIn(data);
    record.arrivedNs = SteadyClock().nowNs();
}

void PingLedger::add(quint64 arrival, const ModuleCounts& what, bool isLast)
{
    const auto found = records.find(arrival);
    if (found == records.end())
        return;
    LedgerEntry& record = found->second;
    record.what += what;
    const qint64 nowNs = SteadyClock().nowNs();
    if (what.echoesIntact + what.echoesDamaged > 0)
        record.answeredNs = nowNs;
    if (!isLast)
        return;
    record.closedNs = nowNs;
    hand(records.extract(found).mapped());
}

void PingLedger::close()
{
    while (!records.empty())
        hand(records.extract(records.begin()).mapped());
}
