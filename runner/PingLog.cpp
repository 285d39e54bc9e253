#include "runner/PingLog.h"

#include "measure/RunFormat.h"

#include <cstdio>
#include <utility>

namespace {

/** Bytes reserved for the rows of a second, so that adding a row seldom allocates memory. */
constexpr qsizetype usualRows = 65536;

const char* fateName(PingFate fate)
{
    switch (fate) {
    case PingFate::Received:
        return "received";
    case PingFate::ReceivedAfterEnd:
        return "receivedAtEnd";
    case PingFate::NoEchoInTime:
        return RunFormat::noEchoInTime;
    case PingFate::NoEchoAtEnd:
        return RunFormat::noEchoAtEnd;
    case PingFate::ChangedEcho:
        return RunFormat::changedEcho;
    case PingFate::NotSent:
        break;
    }
    return "notSent";
}

} // namespace

bool PingLog::open(const QString& path)
{
    return file.open(path, QStringLiteral("Number,SizeBytes,SentUs,Fate,RoundTripUs\n"));
}

bool PingLog::flush()
{
    QByteArray rows;
    {
        const std::lock_guard lock(mutex);
        rows = std::exchange(waiting, {});
        waiting.reserve(usualRows);
    }
    return file.append(rows);
}

bool PingLog::close()
{
    return flush() && file.close();
}

void PingLog::pingEnded(const PingRecord& ping)
{
    char row[128];
    int length =
        std::snprintf(row, sizeof row, "%llu,%d,%.1f,%s,", static_cast<unsigned long long>(ping.id),
                      ping.sizeBytes, static_cast<double>(ping.sentNs) / 1000, fateName(ping.fate));
    if (ping.roundTripNs >= 0)
        length += std::snprintf(row + length, sizeof row - static_cast<size_t>(length), "%.1f",
                                static_cast<double>(ping.roundTripNs) / 1000);
    row[length++] = '\n';
    const std::lock_guard lock(mutex);
    waiting.append(row, length);
}
