#include "engine/timing/ExactTiming.h"

#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <utility>

#include <poll.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

constexpr qint64 secondNs = PingSchedule::secondNs;
constexpr qint64 millisecondNs = 1'000'000;
/**
 * How long the kernel repeats an alarm before it is set again. The interval is rounded up, so the
 * alarms drift.
 */
constexpr qint64 alarmsNs = secondNs;
/** How long requests and timers of the event loop may have to wait. */
constexpr qint64 stayNs = 10 * millisecondNs;

timespec moment(qint64 ns)
{
    return {.tv_sec = ns / secondNs, .tv_nsec = ns % secondNs};
}

} // namespace

ExactTiming::ExactTiming() : alarm(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC))
{
    if (alarm < 0)
        qFatal("no timer: %s", qPrintable(qt_error_string()));
}

ExactTiming::~ExactTiming()
{
    ::close(alarm);
}

void ExactTiming::beginRun(const TestConfig& config, int descriptor)
{
    line = descriptor;
    running = true;
    sending = true;
    takeRoomWaitNs();
    const qint64 startNs = nowNs();
    endNs = config.durationSec > 0 ? startNs + config.durationSec * secondNs : -1;
    schedule.begin(startNs, config.packetsPerSecond, endNs);
    timeoutTimer = makeTimer(sweepMs, [this] {
        callbacks.look(); // an echo that came in time may still be on the line
        callbacks.sweep();
    });
    statsTimer = makeTimer(publishMs, callbacks.publish);
    alarmNotifier = makeNotifier(alarm, &ExactTiming::takeAlarm);
    lineNotifier = makeNotifier(line, &ExactTiming::takeBytes);
    setAlarm();
}

void ExactTiming::endRun()
{
    running = false;
    stopSending();
    endTimer(timeoutTimer);
    endTimer(statsTimer);
    endNotifier(alarmNotifier);
    endNotifier(lineNotifier);
}

QSocketNotifier* ExactTiming::makeNotifier(int descriptor, void (ExactTiming::*reaction)())
{
    auto* notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read, owner);
    QObject::connect(notifier, &QSocketNotifier::activated, owner,
                     [this, reaction] { onReady(reaction); });
    return notifier;
}

void ExactTiming::endNotifier(QSocketNotifier*& notifier)
{
    if (notifier == nullptr)
        return;
    notifier->setEnabled(false);
    notifier->deleteLater(); // the run may end inside the notifier's own slot
    notifier = nullptr;
}

void ExactTiming::pauseSending()
{
    stopSending();
}

void ExactTiming::resumeSending()
{
    sending = true;
    takeRoomWaitNs();
    schedule.restart(nowNs());
    setAlarm();
}

/**
 * Handles an event and then waits here for the next ones for up to stayNs, because a turn of the
 * event loop takes longer than a ping.
 */
void ExactTiming::onReady(void (ExactTiming::*reaction)())
{
    (this->*reaction)();
    const qint64 untilNs = nowNs() + stayNs;
    for (qint64 leftNs = stayNs; running && leftNs > 0; leftNs = untilNs - nowNs()) {
        std::array watched{pollfd{.fd = alarm, .events = POLLIN, .revents = {}},
                           pollfd{.fd = line, .events = POLLIN, .revents = {}}};
        const timespec left = moment(leftNs);
        if (::ppoll(watched.data(), watched.size(), &left, nullptr) <= 0)
            return;
        if (watched[0].revents != 0)
            takeAlarm();
        if (watched[1].revents != 0 && running)
            takeBytes();
    }
}

void ExactTiming::takeAlarm()
{
    quint64 expirations = 0;
    if (::read(alarm, &expirations, sizeof expirations) < 0)
        return;
    sendMissed();
    if (!running)
        return;
    if (endNs >= 0 && nowNs() >= endNs) {
        if (sending)
            leaveOut(schedule.countDue(endNs), takeRoomWaitNs());
        callbacks.endInTime();
    } else if (nowNs() >= alarmUntilNs) {
        setAlarm();
    }
}

void ExactTiming::sendMissed()
{
    const qint64 due = sending ? schedule.countDue(nowNs()) : 0;
    const qint64 burst = std::min(due, schedule.burstLimit());
    roundWaitNs = takeRoomWaitNs();
    for (qint64 i = 0; i < burst; ++i) {
        callbacks.send();
        if (!sending)
            return;
        schedule.take();
    }
    leaveOut(due - burst, std::exchange(roundWaitNs, 0));
}

/** Pings due by now beyond one burst would have been left out, so they are reported here. */
void ExactTiming::stopSending()
{
    if (sending)
        leaveOut(schedule.countDue(nowNs()) - schedule.burstLimit(),
                 roundWaitNs + takeRoomWaitNs());
    sending = false;
}

/** Returns how long pings have waited for room on the line since the last call. */
qint64 ExactTiming::takeRoomWaitNs()
{
    const qint64 waitNs = callbacks.roomWaitNs();
    return waitNs - std::exchange(knownWaitNs, waitNs);
}

/**
 * Reports `pings` as left out. As many of them as come due within `waitNs`, the time that earlier
 * pings waited for room, are attributed to the line and the others to the computer.
 */
void ExactTiming::leaveOut(qint64 pings, qint64 waitNs)
{
    if (pings <= 0)
        return;
    schedule.skip(pings);
    const qint64 byLine = std::min(pings, schedule.countWithin(waitNs));
    callbacks.leaveOut({.byComputer = pings - byLine, .byLine = byLine});
}

void ExactTiming::setAlarm()
{
    itimerspec alarms = {}; // all zero: no alarm
    alarmUntilNs = nowNs() + alarmsNs;
    if (endNs >= 0 && (!sending || schedule.nextDueNs() > endNs)) {
        alarms.it_value = moment(endNs);
    } else if (sending) {
        alarms.it_value = moment(schedule.nextDueNs());
        alarms.it_interval = moment(schedule.intervalNs());
        if (endNs >= 0)
            alarmUntilNs = std::min(alarmUntilNs, endNs - schedule.intervalNs());
    }
    timerfd_settime(alarm, TFD_TIMER_ABSTIME, &alarms, nullptr);
}

void ExactTiming::takeBytes()
{
    // A line that has hung up is always ready to read.
    if (callbacks.look() || lineNotifier == nullptr || !isHungUp())
        return;
    lineNotifier->setEnabled(false);
    line = -1;
}

bool ExactTiming::isHungUp() const
{
    pollfd state = {.fd = line, .events = POLLIN, .revents = {}};
    return ::poll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

void ExactTiming::waitForReplies(int limitMs, const std::function<bool()>& isOver)
{
    const qint64 limitNs = nowNs() + limitMs * millisecondNs;
    callbacks.look();
    while (!isOver()) {
        const qint64 leftNs = limitNs - nowNs();
        if (leftNs <= 0)
            return;
        const int leftMs = static_cast<int>(leftNs / millisecondNs) + 1;
        pollfd state = {.fd = line, .events = POLLIN, .revents = {}};
        const int ready = ::poll(&state, 1, std::min(lookMs, leftMs));
        if (!callbacks.look() && ready != 0)
            pause(std::min(lookMs, leftMs)); // a line that hangs up makes poll() return at once
    }
}
