#pragma once

#include <QStringList>
#include <QTimer>

/** The timers that `owner` has running, as they were made: "100", "10 precise", "5000 once". */
inline QStringList runningTimers(const QObject& owner)
{
    QStringList timers;
    for (const QTimer* timer : owner.findChildren<QTimer*>()) {
        if (timer->isActive())
            timers += QStringLiteral("%1%2%3")
                          .arg(timer->interval())
                          .arg(timer->timerType() == Qt::PreciseTimer ? " precise" : "",
                               timer->isSingleShot() ? " once" : "");
    }
    return timers;
}
