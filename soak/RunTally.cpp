#include "soak/RunTally.h"

#include <array>

namespace {

struct Wording
{
    QStringView start;
    quint64 RunTally::*count = nullptr;
};

constexpr std::array<Wording, 6> wordings{{
    {u"Failed to send packet ", &RunTally::failedSends},
    {u"Received reply for unknown sequence ID: ", &RunTally::unknownIds},
    {u"Received reply with insufficient data", &RunTally::shortEchoes},
    {u"Device error response: ", &RunTally::errorReplies},
    {u"Device report: ", &RunTally::reports},
    {u"Received unexpected packet with command: ", &RunTally::unexpected},
}};

} // namespace

void RunTally::addLine(const QString& type, const QString& message)
{
    if (lines.isEmpty() && message != u"Test started")
        return;
    lines.append({type, message});
    if (message == u"Waiting for final replies...")
        waiting = true;
    if (message.contains(u": Data mismatch! Expected "))
        ++mismatches;
    for (const Wording& wording : wordings) {
        if (message.startsWith(wording.start))
            ++(this->*wording.count);
    }
}

void RunTally::addStats(const TestStats& published)
{
    const bool forward = published.packetsSent >= stats.packetsSent &&
                         published.packetsReceived >= stats.packetsReceived &&
                         published.packetsLost >= stats.packetsLost;
    const bool bounded = published.packetsReceived + published.packetsLost <= published.packetsSent;
    if (disorder.isEmpty() && !(forward && bounded))
        disorder = QStringLiteral("statistics %1/%2/%3 came after %4/%5/%6 (sent/received/lost)")
                       .arg(published.packetsSent)
                       .arg(published.packetsReceived)
                       .arg(published.packetsLost)
                       .arg(stats.packetsSent)
                       .arg(stats.packetsReceived)
                       .arg(stats.packetsLost);
    stats = published;
}
