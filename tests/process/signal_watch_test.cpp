#include "process/SignalWatch.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <filesystem>

#include <fcntl.h>

namespace {

/** The one descriptor of this process that signals can be read from; -1 without one. */
int signalDescriptor()
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the one that reads the folder
        if (std::filesystem::read_symlink(entry, gone) == "anon_inode:[signalfd]")
            return std::stoi(entry.path().filename());
    }
    return -1;
}

} // namespace

class SignalWatchTest : public QObject
{
    Q_OBJECT

private slots:
    void tellsOfEveryRequest()
    {
        sigset_t before = {};
        pthread_sigmask(SIG_SETMASK, nullptr, &before);
        SignalWatch::block();
        sigset_t after = {};
        pthread_sigmask(SIG_SETMASK, nullptr, &after);
        const QList<int> watched{SIGINT, SIGTERM, SIGHUP};
        for (int number = 1; number < SIGRTMIN; ++number)
            QCOMPARE(sigismember(&after, number),
                     watched.contains(number) ? 1 : sigismember(&before, number));
        for (int round = 0; round < 2; ++round) {
            const SignalWatch watch;
            const int descriptor = signalDescriptor();
            QCOMPARE(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
            QVERIFY((fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0);
            QSignalSpy requests(&watch, &SignalWatch::endRequested);
            for (const sighandler_t handler : {SIG_DFL, SIG_IGN}) { // ignored, as under nohup
                std::signal(SIGHUP, handler);
                for (const QList<int>& numbers :
                     QList<QList<int>>{{SIGINT}, {SIGTERM}, {SIGHUP}, {SIGINT, SIGTERM, SIGHUP}}) {
                    for (const int number : numbers)
                        std::raise(number); // no other thread has it blocked
                    QVERIFY(requests.isEmpty());
                    QCoreApplication::processEvents();
                    const bool ignored = handler == SIG_IGN && numbers.contains(SIGHUP);
                    QCOMPARE(requests.size(), numbers.size() - ignored);
                    requests.clear();
                }
            }
        }
        QCOMPARE(signalDescriptor(), -1);
    }
};

QTEST_GUILESS_MAIN(SignalWatchTest)
#include "signal_watch_test.moc"
