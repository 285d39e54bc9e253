#pragma once

#include "engine/timing/PingSchedule.h"
#include "engine/timing/TimerTiming.h"

class QSocketNotifier;

/**
 * Timing for exact measurement. Pings are sent by an absolute schedule, the line is read as soon as
 * bytes arrive, and the final wait ends when no ping is open any more.
 *
 * If the thread wakes up late, missed pings are sent at once, at most those of 20 ms. The rest are
 * reported as left out and the schedule moves on. A run of n seconds has rate x n pings when the
 * computer keeps up.
 *
 * During a run it blocks the engine's thread for up to 10 ms at a time, so queued calls and timers
 * may be that late. A line that hangs up is not watched any more until the next run.
 */
class ExactTiming final : public TimerTiming
{
public:
    /** Opens a timer descriptor; ends the program when the system has none left. */
    ExactTiming();
    ~ExactTiming() override;

    bool keepsUnreadOnLine() const override { return true; }
    bool limitsRoundTrips() const override { return true; }
    void beginRun(const TestConfig& config, int descriptor) override;
    void endRun() override;
    void pauseSending() override;
    void resumeSending() override;
    bool isSendingPaused() const override { return running && !sending; }
    qint64 dueNs() const override { return schedule.nextDueNs(); }
    void waitForReplies(int limitMs, const std::function<bool()>& isOver) override;

private:
    void onReady(void (ExactTiming::*reaction)());
    void takeAlarm();
    void takeBytes();
    void sendMissed();
    void stopSending();
    qint64 takeRoomWaitNs();
    void leaveOut(qint64 pings, qint64 waitNs);
    void setAlarm();
    bool isHungUp() const;
    QSocketNotifier* makeNotifier(int descriptor, void (ExactTiming::*reaction)());
    static void endNotifier(QSocketNotifier*& notifier);

    int alarm;     ///< timer descriptor, owned
    int line = -1; ///< not owned; negative: none, or the line has hung up
    bool running = false;
    bool sending = false;
    qint64 endNs = -1;       ///< end of the run; negative: no end
    qint64 alarmUntilNs = 0; ///< at the first alarm at or after this, set it again
    qint64 knownWaitNs = 0;  ///< last value of callbacks.roomWaitNs()
    qint64 roundWaitNs = 0;  ///< time waited for room between the last two checks for due pings
    PingSchedule schedule;
    // Children of the engine; they exist during a run only.
    QSocketNotifier* alarmNotifier = nullptr;
    QSocketNotifier* lineNotifier = nullptr; ///< disabled once the line has hung up
};
