#pragma once

#include <QObject>
#include <QString>

#include <atomic>
#include <mutex>

class BraskTestWorker;

/**
 * How many bytes wait on an engine's line when the engine comes to read them.
 *
 * The engine's receive ring takes 1240 bytes; what waits above that is lost by design, and an
 * account of a run must know whether that can have happened. Looks from inside of the engine's
 * thread, in front of each of its timers, because a look from elsewhere may come after the read.
 *
 * Threads: made before the engine's thread is started, into which it moves; the functions are for
 * any thread.
 */
class LineGauge : public QObject
{
    Q_OBJECT

public:
    /** `engine` is not owned; it must live in its thread already and outlive this object's use. */
    explicit LineGauge(BraskTestWorker* engine);
    /** Not while the engine's thread runs. */
    ~LineGauge() override;

    /** From now on looks at the line of this path, none when it is empty or cannot be opened. */
    void watch(const QString& linePath);
    /** Looks once more; for the final wait, in which the engine's timers rest. */
    void look();
    /** Most bytes seen since the last call, and starts again from 0. */
    int takePeak() { return peak.exchange(0); }
    /** Steady clock, in milliseconds, when the engine last reported the end of a run. */
    qint64 completedAtMs() const { return completedMs; }
    static qint64 steadyMs();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::mutex lock; ///< guards `line`
    int line = -1;
    std::atomic<int> peak = 0;
    std::atomic<qint64> completedMs = 0;
};
