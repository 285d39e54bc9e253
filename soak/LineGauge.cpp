#include "soak/LineGauge.h"

#include "engine/BraskTestWorker.h"

#include <QChildEvent>

#include <algorithm>
#include <chrono>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

LineGauge::LineGauge(BraskTestWorker* engine)
{
    moveToThread(engine->thread());
    engine->installEventFilter(this);
    connect(
        engine, &BraskTestWorker::testCompleted, this, [this] { completedMs = steadyMs(); },
        Qt::DirectConnection);
}

LineGauge::~LineGauge()
{
    watch({});
}

void LineGauge::watch(const QString& linePath)
{
    const std::lock_guard guard(lock);
    if (line >= 0)
        ::close(line);
    line = linePath.isEmpty()
               ? -1
               : ::open(qPrintable(linePath), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    peak = 0;
}

void LineGauge::look()
{
    const std::lock_guard guard(lock);
    int waiting = 0;
    if (line >= 0 && ::ioctl(line, FIONREAD, &waiting) == 0)
        peak = std::max(peak.load(), waiting);
}

qint64 LineGauge::steadyMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

bool LineGauge::eventFilter(QObject* watched, QEvent* event)
{
    if (const auto* change = dynamic_cast<QChildEvent*>(event); change && change->added())
        change->child()->installEventFilter(this);
    else if (event->type() == QEvent::Timer)
        look();
    return QObject::eventFilter(watched, event);
}
