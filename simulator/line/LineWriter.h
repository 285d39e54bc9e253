#pragma once

#include "simulator/line/Answer.h"
#include "simulator/line/LinePacer.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <deque>

class Pty;

/**
 * Sends answers in the order given, no faster than the line's rate and without ever waiting: what
 * the line does not take at once is queued, up to a bound.
 *
 * Lives on the thread that makes it, which needs an event loop.
 */
class LineWriter : public QObject
{
    Q_OBJECT

public:
    /** Most bytes that wait in front of the line. */
    static constexpr qsizetype queueLimit = 65536;

    /** `line` is not owned and must outlive this object; `baudRate` as of LinePacer. */
    LineWriter(Pty& line, int baudRate, QObject* parent);

    /** False, and nothing of `answer` will be sent, when it does not fit in the queue. */
    bool send(const Answer& answer);

signals:
    /** Once for every piece, when its last byte is out. The receiver must not destroy the writer.
     */
    void handedOver(const AnswerPiece& piece);

private:
    void pump();
    /** Hands over what the first piece may send now; false when it has to be continued later. */
    bool pumpFirst();
    void onRoom();

    Pty& pty;
    LinePacer pacer;
    QSocketNotifier notifier; ///< enabled while the line is full
    QTimer tick;              ///< active while the line's rate holds bytes back
    QTimer pause;             ///< active in the silence in front of a piece
    std::deque<AnswerPiece> queue;
    qsizetype queuedBytes = 0;
    qsizetype firstSent = 0; ///< bytes of the first piece that are out
};
