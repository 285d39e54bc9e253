#pragma once

#include "engine/timing/PingSchedule.h"
#include "engine/timing/TimerTiming.h"

class QSocketNotifier;

/**
 * The timing of a measuring instrument: pings leave by an absolute schedule, the line is read as
 * soon as bytes arrive, and the final wait ends when no ping is open any more.
 *
 * Pings that a late wake-up has missed are sent at once, 20 ms' worth of them at the most; the rest
 * of the schedule moves and is told as left out. A run of n seconds has rate x n pings when the
 * computer keeps up.
 *
 * During a run it holds the engine's thread for up to 10 ms at a time, so queued calls and timers
 * may be that late. A line that hangs up is watched no more until the next run.
 */
class ExactTiming final : public TimerTiming
{
public:
    /** Takes a descriptor; ends the program when the system has none to give. */
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
    int line = -1; ///< not owned; negative: none, or one that is dead
    bool running = false;
    bool sending = false;
    qint64 endNs = -1;       ///< of the run; negative: none
    qint64 alarmUntilNs = 0; ///< set the alarm anew at the first one behind this
    qint64 knownWaitNs = 0;  ///< of callbacks.roomWaitNs() when it was last asked for
    qint64 roundWaitNs = 0;  ///< waited for room between the last look for due pings and this one
    PingSchedule schedule;
    // Children of the engine; they exist during a run only.
    QSocketNotifier* alarmNotifier = nullptr;
    QSocketNotifier* lineNotifier = nullptr; ///< off once the line is dead, like `line` then
};
