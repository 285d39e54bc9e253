#include "simulator/moduleAnswers.h"

#include "simulator/moduleFrame.h"

#include <algorithm>

namespace {

/**
 * A ping's id is in its first eight bytes, lowest first. An altered echo differs in the highest of
 * these bytes or after them, so it never looks like the echo of another open ping.
 */
constexpr qsizetype firstAlterable = 7;

/** Returns a number from 0 to `bound` - 1; `bound` is at least 1. */
qsizetype below(qsizetype bound, quint64 drawn)
{
    return static_cast<qsizetype>(drawn % static_cast<quint64>(bound));
}

void flip(QByteArray& bytes, qsizetype index, quint8 mask)
{
    bytes[index] = static_cast<char>(static_cast<quint8>(bytes.at(index)) ^ mask);
}

void damagePayload(QByteArray& payload, const PingDecisions& plan, ModuleCounts& tally)
{
    if (plan.truncate && !payload.isEmpty()) {
        payload.truncate(below(payload.size(), plan.truncateTo));
        tally.truncated = 1;
    }
    if (plan.alter && !payload.isEmpty()) {
        const qsizetype first = std::min(firstAlterable, payload.size() - 1);
        flip(payload, first + below(payload.size() - first, plan.alterIndex), plan.alterMask);
        tally.altered = 1;
    }
}

QByteArray makeEchoFrame(const QByteArray& pingData, const PingDecisions& plan, ModuleCounts& tally)
{
    QByteArray frame;
    if (plan.errorReply) {
        frame = moduleFrame::make(moduleFrame::errorType | moduleFrame::pingRequest,
                                  QByteArray(1, moduleAnswers::PingRefused));
        tally.errorReplies = 1;
    } else {
        QByteArray payload = pingData;
        damagePayload(payload, plan, tally);
        frame = moduleFrame::make(moduleFrame::replyType | moduleFrame::pingRequest, payload);
    }
    if (plan.corrupt) {
        const qsizetype bit = below(frame.size() * 8, plan.corruptBit);
        flip(frame, bit / 8, static_cast<quint8>(1U << static_cast<quint64>(bit % 8)));
        tally.corrupted = 1;
    }
    const bool damaged = tally.errorReplies + tally.truncated + tally.altered + tally.corrupted > 0;
    (damaged ? tally.echoesDamaged : tally.echoesIntact) = 1;
    return frame;
}

Answer singleFrame(const QByteArray& frame)
{
    Answer answer;
    answer.pieces.push_back({.bytes = frame, .pauseBeforeMs = 0, .tally = {}, .ping = {}});
    return answer;
}

} // namespace

Answer moduleAnswers::reply(quint8 request)
{
    return singleFrame(moduleFrame::make(moduleFrame::replyType | request, {}));
}

Answer moduleAnswers::errorReply(quint8 request, ErrorCode code)
{
    return singleFrame(moduleFrame::make(moduleFrame::errorType | request,
                                         QByteArray(1, static_cast<char>(code))));
}

Answer moduleAnswers::echo(quint64 arrival, const QByteArray& pingData, const PingDecisions& plan)
{
    Answer answer;
    const auto add = [&](const QByteArray& bytes, int pauseBeforeMs, const ModuleCounts& tally) {
        answer.pieces.push_back({bytes, pauseBeforeMs, tally, arrival});
    };
    if (plan.garbage)
        add(plan.noise, 0, {.garbage = 1});
    if (plan.report)
        add(moduleFrame::make(plan.reportCommand,
                              QByteArray(1, static_cast<char>(plan.reportDataByte))),
            0, {.reports = 1});

    ModuleCounts tally;
    const QByteArray frame = makeEchoFrame(pingData, plan, tally);
    if (plan.split) {
        const qsizetype cut = 1 + below(frame.size() - 1, plan.splitIndex);
        tally.split = 1;
        add(frame.left(cut), 0, {});
        add(frame.mid(cut), splitPauseMs, tally);
    } else {
        add(frame, 0, tally);
    }
    if (plan.duplicate)
        add(frame, 0, {.duplicated = 1});
    answer.pieces.back().isLast = true;
    return answer;
}
