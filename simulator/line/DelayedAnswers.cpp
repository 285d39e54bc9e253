#include "simulator/line/DelayedAnswers.h"

#include <chrono>

DelayedAnswers::DelayedAnswers(QObject* parent) : QObject(parent), timer(this)
{
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, this, &DelayedAnswers::release);
}

bool DelayedAnswers::hold(const Answer& answer, qint64 delayUs)
{
    if (held.size() >= holdLimit)
        return false;
    const QDeadlineTimer dueAt(std::chrono::microseconds(delayUs), Qt::PreciseTimer);
    const auto place = held.emplace(dueAt, answer);
    if (place == held.begin())
        arm();
    return true;
}

void DelayedAnswers::release()
{
    while (!held.empty() && held.begin()->first.hasExpired()) {
        const Answer answer = std::move(held.extract(held.begin()).mapped());
        emit due(answer);
    }
    if (!held.empty())
        arm();
}

void DelayedAnswers::arm()
{
    timer.start(static_cast<int>(held.begin()->first.remainingTime()));
}

#include "moc_DelayedAnswers.cpp"
