#pragma once

#include "simulator/line/LinePacer.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

class Pty;

/**
 * Reads what a tool sends, no faster than the line's rate.
 *
 * The object lives on the thread that creates it, which needs an event loop. It reads from
 * construction to destruction.
 */
class LineReader : public QObject
{
    Q_OBJECT

public:
    /** `line` is not owned and must outlive this object; `baudRate` as in LinePacer. */
    LineReader(Pty& line, int baudRate, QObject* parent);

signals:
    /**
     * Emitted once for each read, with 1 to 4096 bytes. The receiver must not destroy the reader.
     */
    void bytesArrived(const QByteArray& bytes);

private:
    void onReadable();
    void onTick();
    /** Reads at most `limit` bytes. False when fewer were ready. */
    bool readUpTo(qsizetype limit);

    Pty& pty;
    LinePacer pacer;
    QSocketNotifier notifier;
    QTimer tick;
};
