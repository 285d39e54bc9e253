#include "command/Program.h"
#include "command/SignalWatch.h"
#include "tests/support/processes.h"

#include <QtTest>

#include <clocale>
#include <csignal>

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

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
            const int next = dup(0);
            ::close(next);
            const SignalWatch watch; // takes the lowest number that is free
            QCOMPARE(fcntl(next, F_GETFD), FD_CLOEXEC);
            QSignalSpy requests(&watch, &SignalWatch::endRequested);
            for (const sighandler_t handler : {SIG_DFL, SIG_IGN}) { // ignored, as under nohup
                std::signal(SIGHUP, handler);
                for (const int number : watched)
                    std::raise(number); // no other thread has it blocked
                QVERIFY(requests.isEmpty());
                QCoreApplication::processEvents();
                QCOMPARE(requests.size(), handler == SIG_IGN ? 2 : 3);
                requests.clear();
            }
        }
        QCOMPARE(processUse().first, use);
    }

    void choosesUtf8()
    {
        for (const QByteArrayList& set :
             {QByteArrayList{"LANG", "C"}, {"LC_ALL", "POSIX"}, {"LANG", "no_NE"}, {}}) {
            for (const char* name : {"LANG", "LC_ALL", "LC_CTYPE"})
                qunsetenv(name);
            qputenv(set.value(0, "LANG").constData(), set.value(1));
            Program::prepare();
            const locale_t chosen = newlocale(LC_ALL_MASK, "", nullptr);
            QVERIFY(chosen != nullptr);
            QCOMPARE(nl_langinfo_l(CODESET, chosen), "UTF-8");
            freelocale(chosen);
        }
    }
};

QTEST_GUILESS_MAIN(SignalWatchTest)
#include "signal_watch_test.moc"
