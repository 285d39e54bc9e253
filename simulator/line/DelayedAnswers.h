#pragma once

#include "simulator/line/Answer.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>

#include <map>

/**
 * Holds answers back until they are due. Answers that are due at the same moment keep their order.
 * Lives on the thread that makes it, which needs an event loop.
 */
class DelayedAnswers : public QObject
{
    Q_OBJECT

public:
    /** Most answers held at a time. */
    static constexpr size_t holdLimit = 65536;

    explicit DelayedAnswers(QObject* parent);

    /** Holds `answer` for `delayUs` microseconds; false, and nothing held, when full. */
    bool hold(const Answer& answer, qint64 delayUs);

signals:
    /** Once for every answer held, when its time has come. */
    void due(const Answer& answer);

private:
    void release();
    void arm();

    std::multimap<QDeadlineTimer, Answer> held;
    QTimer timer;
};
