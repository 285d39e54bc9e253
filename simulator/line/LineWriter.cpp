#include "simulator/line/LineWriter.h"

#include "simulator/line/Pty.h"

#include <algorithm>
#include <utility>

LineWriter::LineWriter(Pty& line, int baudRate, QObject* parent)
    : QObject(parent), pty(line), pacer(baudRate),
      notifier(line.descriptor(), QSocketNotifier::Write, this), tick(this), pause(this)
{
    notifier.setEnabled(false);
    tick.setTimerType(Qt::PreciseTimer);
    tick.setInterval(LinePacer::tickMs);
    pause.setTimerType(Qt::PreciseTimer);
    pause.setSingleShot(true);
    connect(&notifier, &QSocketNotifier::activated, this, &LineWriter::onRoom);
    connect(&tick, &QTimer::timeout, this, &LineWriter::pump);
    connect(&pause, &QTimer::timeout, this, &LineWriter::pump);
}

bool LineWriter::send(const Answer& answer)
{
    qsizetype length = 0;
    for (const AnswerPiece& piece : answer.pieces)
        length += piece.bytes.size();
    if (queuedBytes + length > queueLimit)
        return false;
    queue.insert(queue.end(), answer.pieces.begin(), answer.pieces.end());
    queuedBytes += length;
    if (!notifier.isEnabled() && !tick.isActive() && !pause.isActive())
        pump();
    return true;
}

void LineWriter::onRoom()
{
    notifier.setEnabled(false);
    pump();
}

void LineWriter::pump()
{
    tick.stop();
    while (!queue.empty()) {
        if (!pumpFirst())
            return;
    }
    pacer.end();
}

bool LineWriter::pumpFirst()
{
    AnswerPiece& piece = queue.front();
    if (piece.pauseBeforeMs > 0) {
        pacer.end();
        pause.start(std::exchange(piece.pauseBeforeMs, 0));
        return false;
    }
    pacer.begin();
    const qsizetype length = std::min(pacer.allowance(), piece.bytes.size() - firstSent);
    if (length <= 0) {
        tick.start();
        return false;
    }
    const qsizetype taken = pty.write(piece.bytes.constData() + firstSent, length);
    if (taken <= 0) {
        pacer.end();
        notifier.setEnabled(taken == 0);
        return false;
    }
    pacer.spend(taken);
    queuedBytes -= taken;
    firstSent += taken;
    if (firstSent == piece.bytes.size()) {
        const AnswerPiece whole = std::move(piece);
        queue.pop_front();
        firstSent = 0;
        emit handedOver(whole);
    }
    return true;
}

#include "moc_LineWriter.cpp"
