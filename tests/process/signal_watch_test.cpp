#include "process/SignalWatch.h"
#include "tests/support/processes.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>

#include <csignal>

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
        QCoreApplication::processEvents(); // the event loop has descriptors of its own
        const auto use = processUse().first;
        {
            const SignalWatch watch;
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
        QCOMPARE(processUse().first, use);
    }
};

QTEST_GUILESS_MAIN(SignalWatchTest)
#include "signal_watch_test.moc"
