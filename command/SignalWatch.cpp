#include "command/SignalWatch.h"

#include <QSocketNotifier>

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

namespace {

sigset_t watchedSignals()
{
    sigset_t set = {};
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGHUP);
    return set;
}

/**
 * A blocked signal arrives even if it is ignored. A SIGHUP that the program's starter had ignored
 * must not end the program.
 */
bool isRequest(const signalfd_siginfo& info)
{
    if (info.ssi_signo != SIGHUP)
        return true;
    struct sigaction action = {};
    sigaction(SIGHUP, nullptr, &action);
    return action.sa_handler != SIG_IGN;
}

} // namespace

void SignalWatch::block()
{
    const sigset_t set = watchedSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

SignalWatch::SignalWatch(QObject* parent) : QObject(parent)
{
    const sigset_t set = watchedSignals();
    descriptor = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    auto* notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &SignalWatch::onReadable);
}

SignalWatch::~SignalWatch()
{
    qDeleteAll(findChildren<QSocketNotifier*>()); // they must not outlive what they watch
    ::close(descriptor);
}

void SignalWatch::onReadable()
{
    signalfd_siginfo info = {};
    while (::read(descriptor, &info, sizeof info) == ssize_t{sizeof info}) {
        if (isRequest(info))
            emit endRequested();
    }
}

#include "moc_SignalWatch.cpp"
