#include "engine/ExactTiming.h"
#include "engine/WindowTiming.h"
#include "tests/support/RawLine.h"

#include <QCoreApplication>
#include <QTest>
#include <QTimer>

/** When things are done. */
class TimingTest : public QObject
{
    Q_OBJECT

private slots:
    void schedulesEveryRateExactly()
    {
        constexpr qint64 start = 123'456'789;
        for (int rate = 1; rate <= 1000; ++rate) {
            PingSchedule schedule;
            schedule.begin(start, rate, start + 3'000'000'000);
            for (qint64 n = 1; n <= qint64{rate} * 3; ++n) {
                const qint64 due = start + n * 1'000'000'000 / rate;
                QCOMPARE(schedule.nextDueNs(), due);
                QCOMPARE(schedule.countDue(due - 1), 0);
                QCOMPARE(schedule.countDue(due), 1);
                schedule.take();
            }
            QCOMPARE(schedule.countDue(start + 9'000'000'000), 0); // the end has come
        }
    }

    void makesUpForWhatALateWakeUpMissed()
    {
        // Rate, lateness in ms behind the first due ping; missed, sent at once.
        for (const auto& [rate, lateMs, missed, burst] : {std::tuple(1000, 0, 1, 20),
                                                          {1000, 99, 100, 20},
                                                          {600, 50, 31, 12},
                                                          {10, 250, 3, 1}}) {
            PingSchedule schedule;
            schedule.begin(0, rate, -1);
            const qint64 now = schedule.nextDueNs() + lateMs * qint64{1'000'000};
            QCOMPARE(schedule.countDue(now), missed);
            QCOMPARE(schedule.burstLimit(), burst);
            for (int i = 0; i < std::min(missed, burst); ++i)
                schedule.take();
            schedule.skip(missed - std::min(missed, burst));
            QCOMPARE(schedule.countDue(now), 0);
            QCOMPARE(schedule.nextDueNs(), (missed + 1) * qint64{1'000'000'000} / rate);
        }
    }

    void sendsAllPingsOfARunAndThenEndsIt()
    {
        ExactTiming timing;
        QObject owner;
        int sent = 0;
        bool ended = false;
        EngineTiming::Deeds deeds = idle();
        deeds.send = [&] {
            ++sent;
            QVERIFY(timing.dueNs() <= timing.nowNs());
        };
        int looks = 0;
        int sweeps = 0;
        deeds.look = [&] { return ++looks < 0; };
        deeds.sweep = [&] { QVERIFY(looks > sweeps++); }; // what waits on the line is not late
        deeds.endInTime = [&] {
            timing.endRun();
            ended = true;
        };
        timing.attach(&owner, deeds);
        const RawLine line;
        const qint64 start = timing.nowNs();
        timing.beginRun({.packetsPerSecond = 40, .durationSec = 1}, line.otherEnd());
        QTRY_VERIFY(ended);
        QVERIFY(timing.nowNs() - start >= 1'000'000'000);
        QVERIFY2(sent <= 40 && sent > 0 && sweeps > 0, qPrintable(QString::number(sent)));
    }

    void doesNotSpinOnADeadLine()
    {
        ExactTiming timing;
        QObject owner;
        auto line = std::make_unique<RawLine>();
        const int descriptor = dup(line->otherEnd());
        int looks = 0;
        int published = 0;
        EngineTiming::Deeds deeds = idle();
        deeds.look = [&] {
            ++looks;
            char byte = 0;
            return ::read(descriptor, &byte, 1) > 0;
        };
        deeds.publish = [&] { ++published; };
        timing.attach(&owner, deeds);
        timing.beginRun({.packetsPerSecond = 1}, descriptor);
        line->send("x");
        QTRY_COMPARE(looks, 1); // as soon as something is there
        line.reset();
        QTRY_VERIFY(published >= 3);
        QVERIFY2(looks < 10, qPrintable(QString::number(looks)));
        timing.endRun();
        ::close(descriptor);
    }

    void waitsNoLongerThanForTheLastReply()
    {
        ExactTiming timing;
        QObject owner;
        int open = 3;
        RawLine line;
        EngineTiming::Deeds deeds = idle();
        deeds.look = [&] {
            line.send("x"); // is there at the next look
            return --open > 0;
        };
        timing.attach(&owner, deeds);
        timing.beginRun({}, line.otherEnd());
        timing.endRun();
        const qint64 start = timing.nowNs();
        timing.waitForReplies(60'000, [&] { return open == 0; });
        QVERIFY(timing.nowNs() - start < 30'000'000'000);
        deeds.look = [] { return false; };
        timing.attach(&owner, deeds);
        timing.waitForReplies(50, [] { return false; });
        QVERIFY(timing.nowNs() - start >= 50'000'000);

        WindowTiming window; // looks every 10 ms for the whole time, come what may
        int looks = 0;
        deeds.look = [&] { return ++looks > 0; };
        window.attach(&owner, deeds);
        const qint64 begin = window.nowNs();
        window.waitForReplies(100, [] { return true; });
        QVERIFY(window.nowNs() - begin >= 100'000'000 && looks > 2 && looks <= 11);
    }

    void runsTheWindowsTimers()
    {
        WindowTiming timing;
        QObject owner;
        timing.attach(&owner, idle());
        const auto timers = [&owner] {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QStringList shown;
            for (const QTimer* timer : owner.findChildren<QTimer*>())
                shown += QStringLiteral("%1%2%3")
                             .arg(timer->interval())
                             .arg(timer->timerType() == Qt::PreciseTimer ? " precise" : "",
                                  timer->isSingleShot() ? " once" : "");
            return shown.join(", ");
        };
        for (const auto& [rate, duration, expected] :
             {std::tuple(7, 3,
                         "142 precise, 100 precise, 10 precise, 100 precise, 3000 precise once"),
              {1000, 0, "1 precise, 100 precise, 10 precise, 100 precise"}}) {
            timing.beginRun({.packetsPerSecond = rate, .durationSec = duration}, -1);
            QCOMPARE(timers(), expected);
            timing.pauseSending();
            QVERIFY(timing.isSendingPaused());
            timing.resumeSending();
            QVERIFY(!timing.isSendingPaused());
            timing.endRun();
            QCOMPARE(timers(), "");
        }
        for (int connection = 0; connection < 2; ++connection) {
            timing.startDisplay(1000);
            QCOMPARE(timers(), "1000");
            timing.stopDisplay();
        }
    }

private:
    static EngineTiming::Deeds idle()
    {
        const auto nothing = [] {};
        return {nothing, nothing, [] { return false; }, nothing, nothing, nothing};
    }
};

QTEST_GUILESS_MAIN(TimingTest)
#include "timing_test.moc"
