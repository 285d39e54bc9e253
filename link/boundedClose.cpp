#include "link/boundedClose.h"

#include <QDeadlineTimer>

#include <csignal>
#include <ctime>

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr int lookMs = 5;

/**
 * While it exists, a signal interrupts this thread's interruptible waits in the kernel every
 * lookMs.
 */
class WaitInterrupter
{
public:
    WaitInterrupter()
    {
        struct sigaction ignore = {};
        ignore.sa_handler = [](int) {}; // not SIG_IGN and no SA_RESTART, or waits would go on
        sigaction(signalNumber, &ignore, &previousAction);
        sigset_t own = {};
        sigemptyset(&own);
        sigaddset(&own, signalNumber);
        pthread_sigmask(SIG_UNBLOCK, &own, &previousMask);

        sigevent notice = {};
        notice.sigev_notify = SIGEV_THREAD_ID;
        notice.sigev_signo = signalNumber;
        notice._sigev_un._tid = gettid(); // NOLINT(*-union-access): the system offers no other way
        running = timer_create(CLOCK_MONOTONIC, &notice, &timer) == 0;
        const timespec interval = {.tv_sec = 0, .tv_nsec = lookMs * 1'000'000L};
        const itimerspec again = {.it_interval = interval, .it_value = interval};
        if (running)
            timer_settime(timer, 0, &again, nullptr);
    }
    ~WaitInterrupter()
    {
        if (running)
            timer_delete(timer);
        pthread_sigmask(SIG_SETMASK, &previousMask, nullptr);
        sigaction(signalNumber, &previousAction, nullptr);
    }
    WaitInterrupter(const WaitInterrupter&) = delete;
    WaitInterrupter& operator=(const WaitInterrupter&) = delete;

private:
    const int signalNumber = SIGRTMAX - 2;
    struct sigaction previousAction = {};
    sigset_t previousMask = {};
    timer_t timer = {};
    bool running = false;
};

bool hasUnsent(int descriptor)
{
    int unsent = 0;
    return ::ioctl(descriptor, TIOCOUTQ, &unsent) == 0 && unsent > 0;
}

} // namespace

void closeWithin(int descriptor, int waitMs)
{
    const QDeadlineTimer deadline(waitMs);
    while (hasUnsent(descriptor) && !deadline.hasExpired())
        ::poll(nullptr, 0, lookMs);
    if (hasUnsent(descriptor))
        tcflush(descriptor, TCOFLUSH);
    if (!hasUnsent(descriptor)) {
        ::close(descriptor);
        return;
    }
    // Drivers of USB adapters keep their bytes after a flush, and close() waits for them.
    const WaitInterrupter impatience;
    ::close(descriptor);
}
