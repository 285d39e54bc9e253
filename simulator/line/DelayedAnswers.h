#pragma once

#include "simulator/line/Answer.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>

#include <map>

/**
 * Delays answers until they are due. Answers due at the same time keep their order. The object
 * lives on the thread that creates it, which needs an event loop.
 */
class DelayedAnswers : public QObject
{
    Q_OBJECT

public:
    /** Largest number of answers held. */
    static constexpr size_t holdLimit = 65536;

    explicit DelayedAnswers(QObject* parent);

    /** Holds `answer` for `delayUs` microseconds. False when full; the answer is then not held. */
    bool hold(const Answer& answer, qint64 delayUs);

signals:
    /** Emitted once for every held answer, when it is due. */
    void due(const Answer& answer);

private:
    void release();
    void arm();

    std::multimap<QDeadlineTimer, Answer> held;
    QTimer timer;
};
