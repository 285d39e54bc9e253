#include "engine/ExactTiming.h"
#include "engine/WindowTiming.h"
#include "tests/support/RawLine.h"

#include <QSocketNotifier>
#include <QTest>
#include <QTimer>

#include <array>
#include <cmath>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr qint64 secondNs = 1'000'000'000;

/** A timing whose deeds are told by name. */
template <typename Timing> struct TimingBench
{
    Timing timing;
    QObject owner;
    RawLine line;
    QStringList did;
    EngineTiming::Deeds deeds{[this] { did += "send"; }, [this] { did += "sweep"; },
                              [this] { return take(); }, [this] { did += "publish"; },
                              [this] { did += "end"; },  [this] { did += "show"; }};

    /** Empties the line. */
    bool take()
    {
        did += "look";
        std::array<char, 100> bytes{};
        int waiting = 0;
        ::ioctl(line.otherEnd(), FIONREAD, &waiting);
        return waiting > 0 && ::read(line.otherEnd(), bytes.data(), bytes.size()) > 0;
    }
    void begin(const TestConfig& config)
    {
        timing.attach(&owner, deeds);
        timing.beginRun(config, line.otherEnd());
    }
    /** Each running timer and what it does: "10 precise: look", "5000 precise once: end". */
    QStringList timers()
    {
        QStringList told;
        for (QTimer* timer : owner.findChildren<QTimer*>()) {
            if (!timer->isActive())
                continue;
            did.clear();
            told += QStringLiteral("%1%2%3: ")
                        .arg(timer->interval())
                        .arg(timer->timerType() == Qt::PreciseTimer ? " precise" : "",
                             timer->isSingleShot() ? " once" : "");
            QMetaObject::invokeMethod(timer, "timeout");
            told.last() += did.join(' ');
        }
        return told;
    }
};

} // namespace

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
            schedule.begin(start, rate, start + 2 * secondNs);
            QCOMPARE(schedule.countDue(start - 5 * secondNs), 0);
            QCOMPARE(schedule.intervalNs(), qint64(std::ceil(1e9 / rate)));
            bool exact = true;
            for (qint64 n = 1; n <= qint64{rate} * 2; ++n) {
                const qint64 due = start + n * secondNs / rate;
                exact = exact && schedule.nextDueNs() == due && schedule.countDue(due - 1) == 0 &&
                        schedule.countDue(due) == 1;
                schedule.take();
            }
            QVERIFY2(exact, qPrintable(QString::number(rate)));
            QCOMPARE(schedule.countDue(start + 9 * secondNs), 0); // the end has come
            schedule.restart(start + secondNs);
            QCOMPARE(schedule.nextDueNs(), start + secondNs + secondNs / rate);
            QCOMPARE(schedule.countDue(start + 9 * secondNs), rate); // and stays where it was
        }
    }

    void hasItsTimers()
    {
        const QStringList common{"100 precise: sweep", "10 precise: look", "100 precise: publish"};
        // Pings per second, duration; what is there besides the common ones.
        for (const auto& [rate, seconds, send, end] :
             {std::tuple(3, 0, "333 precise: send", QStringList()),
              {600, 3600, "1 precise: send", {"3600000 precise once: end"}}}) {
            TimingBench<WindowTiming> window;
            window.timing.pauseSending(); // no run, nothing to pause
            QVERIFY(!window.timing.isSendingPaused());
            window.begin({.packetsPerSecond = rate, .durationSec = seconds});
            window.timing.pauseSending();
            QVERIFY(window.timing.isSendingPaused());
            QCOMPARE(window.timers(), common + end);
            window.timing.resumeSending();
            QVERIFY(!window.timing.isSendingPaused());
            QCOMPARE(window.timers(), QStringList(send) + common + end);
            QVERIFY(window.timing.dueNs() == -1 && !window.timing.sparesLine());
            leavesNothing(window);
        }
        TimingBench<ExactTiming> exact;
        exact.begin({.packetsPerSecond = 3, .durationSec = 3});
        QCOMPARE(exact.timers(), (QStringList{"100 precise: look sweep", "100 precise: publish"}));
        QVERIFY(exact.timing.sparesLine());
        leavesNothing(exact);
    }

    void runsForItsDuration()
    {
        TimingBench<ExactTiming> bench, paused, resumed;
        QList<qint64> dues;
        qint64 leastLagNs = secondNs;
        bench.deeds.send = [&] {
            dues += bench.timing.dueNs();
            leastLagNs = std::min(leastLagNs, bench.timing.nowNs() - dues.last());
        };
        paused.deeds.send = [&] {
            paused.did += "send";
            if (paused.did.count("send") == 2)
                paused.timing.pauseSending();
        };
        qint64 endedNs = 0;
        for (auto* each : {&paused, &resumed, &bench}) {
            each->deeds.endInTime = [&endedNs, each] {
                endedNs = each->timing.nowNs();
                each->did += "end";
                each->timing.endRun();
            };
        }
        paused.begin({.packetsPerSecond = 16, .durationSec = 1});
        resumed.begin({.packetsPerSecond = 1, .durationSec = 1});
        bench.begin({.packetsPerSecond = 40, .durationSec = 1});
        const qint64 interval = 25'000'000;
        const qint64 startNs = bench.timing.dueNs() - interval;
        resumed.timing.pauseSending();
        QVERIFY(resumed.timing.isSendingPaused());
        const qint64 resumedNs = resumed.timing.nowNs();
        resumed.timing.resumeSending();
        QVERIFY(!resumed.timing.isSendingPaused());
        QVERIFY(resumed.timing.dueNs() >= resumedNs + secondNs);
        QTRY_VERIFY(bench.did.contains("end"));
        QVERIFY(endedNs >= startNs + secondNs);
        QVERIFY(leastLagNs >= 0 && leastLagNs < interval / 3);
        QTRY_VERIFY(paused.did.contains("end") && resumed.did.contains("end"));
        qint64 last = startNs;
        for (const qint64 due : dues) { // on the schedule, none twice
            QVERIFY((due - startNs) % interval == 0 && due > last);
            last = due;
        }
        QVERIFY(last <= startNs + secondNs);
        QVERIFY(bench.did.count("sweep") > 0 && bench.did.count("publish") > 0);
        QVERIFY(paused.did.count("send") == 2 && !resumed.did.contains("send"));
        leavesNothing(paused);
    }

    void sendsMissedPingsAtOnceAndLeavesOutTheRest()
    {
        TimingBench<ExactTiming> bench;
        QList<qint64> dues;
        bench.deeds.send = [&] { dues += bench.timing.dueNs(); };
        bench.begin({.packetsPerSecond = 1000});
        const qint64 firstNs = bench.timing.dueNs();
        QTest::qSleep(60);
        const qint64 wokenNs = bench.timing.nowNs();
        QTRY_VERIFY(dues.size() > 30);
        for (int i = 0; i < 20; ++i)
            QCOMPARE(dues[i], firstNs + i * 1'000'000);
        QVERIFY(dues[20] > wokenNs && (dues[20] - firstNs) % 1'000'000 == 0);
    }

    void endsFromInsideAnyDeed()
    {
        const auto ends = [](auto deed) {
            TimingBench<ExactTiming> bench;
            int calls = 0;
            bench.deeds.*deed = [&] {
                ++calls;
                bench.timing.endRun();
                return false;
            };
            bench.begin({.packetsPerSecond = 1000, .durationSec = 1});
            bench.line.send("x");
            QTest::qSleep(30); // many pings are due
            QTRY_VERIFY(calls > 0);
            leavesNothing(bench);
            QCOMPARE(calls, 1);
        };
        using Deeds = EngineTiming::Deeds;
        ends(&Deeds::send);
        ends(&Deeds::sweep);
        ends(&Deeds::publish);
        ends(&Deeds::look);
    }

    void letsOthersHaveTheirTurn()
    {
        TimingBench<ExactTiming> bench;
        bench.deeds.look = [&] { return false; }; // so that the line stays ready
        bench.begin({.packetsPerSecond = 1});
        bench.line.send("x");
        QTRY_VERIFY(bench.did.count("publish") >= 2);
    }

    void doesNotSpinOnADeadLine()
    {
        TimingBench<ExactTiming> bench;
        bench.begin({.packetsPerSecond = 1});
        bench.line.send("x");
        QTRY_COMPARE(bench.did.count("look"), 1); // as soon as something is there
        bench.line.hangUp();
        QTRY_VERIFY(bench.did.count("publish") >= 2);
        QVERIFY(bench.did.count("look") <= bench.did.count("sweep") + 3);
        bench.timing.endRun();
    }

    void waitsNoLongerThanForTheLastReply()
    {
        TimingBench<ExactTiming> bench;
        int open = 3;
        bench.deeds.look = [&] {
            bench.take();
            bench.line.send("x"); // is there at the next look
            return --open > 0;
        };
        bench.begin({});
        bench.timing.endRun();
        const qint64 startNs = bench.timing.nowNs();
        bench.timing.waitForReplies(60'000, [&] { return open == 0; });
        QVERIFY(bench.timing.nowNs() - startNs < 30 * secondNs);
        QCOMPARE(bench.did.count("look"), 3);

        // A line that is quiet is looked at when it may have ended, a dead one now and then.
        for (const bool isDead : {false, true}) {
            TimingBench<ExactTiming> idle;
            idle.begin({});
            idle.timing.endRun();
            if (isDead)
                idle.line.hangUp();
            const qint64 beginNs = idle.timing.nowNs();
            idle.timing.waitForReplies(50, [] { return false; });
            QVERIFY(idle.timing.nowNs() - beginNs >= 50'000'000);
            QVERIFY(idle.did.size() >= 2 && idle.did.size() <= (isDead ? 7 : 3));
        }
    }

private:
    /** Ends a run, if it has not ended, and looks that nothing more is done. */
    template <typename Timing> static void leavesNothing(TimingBench<Timing>& bench)
    {
        bench.timing.endRun();
        QCOMPARE(bench.timers(), QStringList());
        for (const auto* notifier : bench.owner.template findChildren<QSocketNotifier*>())
            QVERIFY(!notifier->isEnabled());
        bench.did.clear();
        bench.line.send("x");
        QTest::qWait(15);
        QCOMPARE(bench.did, QStringList());
        QVERIFY(bench.owner.children().isEmpty() && !bench.timing.isSendingPaused());
    }
};

QTEST_GUILESS_MAIN(TimingTest)
#include "timing_test.moc"
