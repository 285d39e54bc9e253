#pragma once

#include "simulator/line/Answer.h"
#include "simulator/line/LinePacer.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <deque>

class Pty;

/**
 * Sends answers in the given order, no faster than the line's rate, and never waits. Bytes that the
 * line does not take at once are queued, up to a limit.
 *
 * The object lives on the thread that creates it, which needs an event loop.
 */
class LineWriter : public QObject
{
    Q_OBJECT

public:
    /** Largest number of queued bytes. */
    static constexpr qsizetype queueLimit = 65536;

    /** `line` is not owned and must outlive this object; `baudRate` as in LinePacer. */
    LineWriter(Pty& line, int baudRate, QObject* parent);

    /**
     * Sends or queues `answer`. False when it does not fit in the queue; then none of it is sent.
     */
    bool send(const Answer& answer);

signals:
    /**
     * Emitted once for every piece, when its last byte has been written. The receiver must not
     * destroy the writer.
     */
    void handedOver(const AnswerPiece& piece);

private:
    void pump();
    /** Writes as much of the first piece as possible now; false when it must be continued later. */
    bool pumpFirst();
    void onRoom();

    Pty& pty;
    LinePacer pacer;
    QSocketNotifier notifier; ///< enabled while the line is full
    QTimer tick;              ///< active while the line's rate delays bytes
    QTimer pause;             ///< active during the pause before a piece
    std::deque<AnswerPiece> queue;
    qsizetype queuedBytes = 0;
    qsizetype firstSent = 0; ///< bytes of the first piece already written
};
