#pragma once

#include "simulator/line/LinePacer.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

class Pty;

/**
 * Takes in what a tool sends, no faster than the line's rate.
 *
 * Lives on the thread that makes it, which needs an event loop; reads from construction to
 * destruction.
 */
class LineReader : public QObject
{
    Q_OBJECT

public:
    /** `line` is not owned and must outlive this object; `baudRate` as of LinePacer. */
    LineReader(Pty& line, int baudRate, QObject* parent);

signals:
    /** Once for every run of bytes, 1 to 4096 of them. The receiver must not destroy the reader. */
    void bytesArrived(const QByteArray& bytes);

private:
    void onReadable();
    void onTick();
    /** False when fewer than `limit` bytes were there. */
    bool readUpTo(qsizetype limit);

    Pty& pty;
    LinePacer pacer;
    QSocketNotifier notifier;
    QTimer tick;
};
