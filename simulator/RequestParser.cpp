#include "simulator/RequestParser.h"

#include "link/vnPacket.h"
#include "simulator/moduleFrame.h"

using moduleFrame::headerLength;

void RequestParser::feed(const QByteArray& bytes)
{
    buffer.append(bytes);
}

std::optional<ReceivedPacket> RequestParser::next(Line line)
{
    qsizetype keepFrom = buffer.size();
    for (qsizetype offset = 0; offset < buffer.size(); ++offset) {
        const Candidate candidate = candidateAt(offset);
        if (candidate == Candidate::Correct)
            return take(offset);
        if (candidate == Candidate::Unfinished && keepFrom == buffer.size())
            keepFrom = offset;
        if (candidate == Candidate::Unfinished && line == Line::Busy)
            break;
    }
    buffer.remove(0, keepFrom);
    return std::nullopt;
}

RequestParser::Candidate RequestParser::candidateAt(qsizetype offset) const
{
    const QByteArrayView bytes = QByteArrayView(buffer).sliced(offset);
    if (bytes.size() < headerLength)
        return Candidate::Unfinished;
    const auto dataLength = static_cast<quint8>(bytes[1]);
    if (dataLength > vnMaxDataLength)
        return Candidate::Wrong;
    if (bytes.size() < dataLength + qsizetype{vnFrameOverhead})
        return Candidate::Unfinished;
    const qsizetype covered = headerLength + dataLength;
    const auto low = static_cast<quint8>(bytes[covered]);
    const auto high = static_cast<quint8>(bytes[covered + 1]);
    const bool matches = moduleFrame::crc(bytes.first(covered)) == (low | (high << 8));
    return matches ? Candidate::Correct : Candidate::Wrong;
}

ReceivedPacket RequestParser::take(qsizetype offset)
{
    const auto dataLength = static_cast<quint8>(buffer.at(offset + 1));
    ReceivedPacket packet{static_cast<quint8>(buffer.at(offset)),
                          buffer.mid(offset + headerLength, dataLength)};
    buffer.remove(0, offset + dataLength + qsizetype{vnFrameOverhead});
    return packet;
}
