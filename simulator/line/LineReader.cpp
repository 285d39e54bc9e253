#include "simulator/line/LineReader.h"

#include "simulator/line/Pty.h"

#include <algorithm>

namespace {

constexpr qsizetype chunkLimit = 4096;

} // namespace

LineReader::LineReader(Pty& line, int baudRate, QObject* parent)
    : QObject(parent), pty(line), pacer(baudRate),
      notifier(line.descriptor(), QSocketNotifier::Read, this), tick(this)
{
    tick.setTimerType(Qt::PreciseTimer);
    tick.setInterval(LinePacer::tickMs);
    connect(&notifier, &QSocketNotifier::activated, this, &LineReader::onReadable);
    connect(&tick, &QTimer::timeout, this, &LineReader::onTick);
}

void LineReader::onReadable()
{
    if (!pacer.isPaced()) {
        readUpTo(chunkLimit);
        return;
    }
    notifier.setEnabled(false);
    pacer.begin();
    tick.start();
}

void LineReader::onTick()
{
    const qsizetype allowance = std::min(pacer.allowance(), chunkLimit);
    if (allowance <= 0 || readUpTo(allowance))
        return;
    tick.stop();
    pacer.end();
    notifier.setEnabled(true);
}

bool LineReader::readUpTo(qsizetype limit)
{
    QByteArray bytes(limit, Qt::Uninitialized);
    const qsizetype taken = pty.read(bytes.data(), limit);
    if (taken < 0) { // a closed line is always reported readable
        tick.stop();
        notifier.setEnabled(false);
        return true;
    }
    if (taken > 0) {
        bytes.truncate(taken);
        pacer.spend(taken);
        emit bytesArrived(bytes);
    }
    return taken == limit;
}

#include "moc_LineReader.cpp"
