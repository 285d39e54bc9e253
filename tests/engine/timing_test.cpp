#include "engine/timing/ExactTiming.h"
#include "engine/timing/WindowTiming.h"
#include "tests/support/RawLine.h"

#include <QtTest>

#include <array>
#include <cmath>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr qint64 secondNs = 1'000'000'000;

/** A timing whose callbacks are told by name. */
template <typename Timing> struct TimingBench
{
    Timing timing;
    QObject owner;
    RawLine line;
    QStringList did;
    qint64 byComputer = 0, byLine = 0, waitNs = 0; ///< left out; for room
    EngineTiming::Callbacks callbacks{
        [this] { did += "send"; },
        [this] { did += "sweep"; },
        [this] { return take(); },
        [this] { did += "publish"; },
        [this] { did += "end"; },
        [this] { did += "show"; },
        [this](auto left) { byComputer += left.byComputer, byLine += left.byLine; },
        [this] { return waitNs; }};

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
        timing.attach(&owner, callbacks);
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
            window.begin({.packetsPerSecond = rate, .durationSec = seconds});
            window.timing.pauseSending();
            QVERIFY(window.timing.isSendingPaused());
            QCOMPARE(window.timers(), common + end);
            window.timing.resumeSending();
            QVERIFY(!window.timing.isSendingPaused());
            QCOMPARE(window.timers(), QStringList(send) + common + end);
            QVERIFY(window.timing.dueNs() == -1 && !window.timing.keepsUnreadOnLine());
            leavesNothing(window);
        }
        TimingBench<ExactTiming> exact;
        exact.begin({.packetsPerSecond = 3, .durationSec = 3});
        QCOMPARE(exact.timers(), (QStringList{"100 precise: look sweep", "100 precise: publish"}));
        QVERIFY(exact.timing.keepsUnreadOnLine());
        leavesNothing(exact);
    }

    void runsForItsDuration()
    {
        TimingBench<ExactTiming> bench;
        EngineTiming& timing = bench.timing;
        QList<qint64> dues;
        qint64 leastLagNs = secondNs, resumedNs = 0, endedNs = 0;
        bench.callbacks.send = [&] {
            dues += timing.dueNs();
            leastLagNs = std::min(leastLagNs, timing.nowNs() - dues.last());
            if (dues.size() % 10 == 5)
                timing.pauseSending();
        };
        bench.callbacks.sweep = [&] {
            if (dues.size() != 5 || !timing.isSendingPaused())
                return;
            resumedNs = timing.nowNs();
            timing.resumeSending();
        };
        bench.callbacks.endInTime = [&] {
            endedNs = timing.nowNs();
            timing.endRun();
        };
        bench.begin({.packetsPerSecond = 40, .durationSec = 1});
        const qint64 interval = 25'000'000;
        const qint64 startNs = timing.dueNs() - interval;
        QVERIFY(QTest::qWaitFor([&] { return endedNs > 0; }));
        QVERIFY(endedNs >= startNs + secondNs);
        QVERIFY(leastLagNs >= 0 && leastLagNs < interval / 3);
        QCOMPARE(dues.size(), 15);           // it ended in the second pause
        for (qsizetype i = 0; i < 15; ++i) { // on the schedule, none twice
            const qint64 gap = dues[i] - (i == 0 ? startNs : dues[i - 1]);
            QVERIFY(i == 5 ? dues[i] >= resumedNs + interval : gap > 0 && gap % interval == 0);
        }
        QVERIFY(bench.did.count("publish") > 0);
        leavesNothing(bench);
    }

    void sendsMissedPingsAtOnceAndLeavesOutTheRest()
    {
        TimingBench<ExactTiming> bench;
        QList<qint64> dues;
        int inTime = 0; // so many in a row; as many as wait for the event loop would not be
        int longest = 0;
        bench.callbacks.send = [&] {
            dues += bench.timing.dueNs();
            inTime = bench.timing.nowNs() - dues.last() < 5'000'000 ? inTime + 1 : 0;
            longest = std::max(longest, inTime);
        };
        bench.begin({.packetsPerSecond = 1000});
        const qint64 firstNs = bench.timing.dueNs();
        QTest::qSleep(60);
        const qint64 wokenNs = bench.timing.nowNs();
        QVERIFY(QTest::qWaitFor([&] { return longest > 8 && dues.size() > 30; }, 30'000));
        for (int i = 0; i < 20; ++i)
            QCOMPARE(dues[i], firstNs + i * qint64{1'000'000});
        QVERIFY(dues[20] > wokenNs && (dues[20] - firstNs) % 1'000'000 == 0);
        bench.timing.endRun();

        int sent = 0;
        bench.callbacks.send = [&] {
            if (++sent % 30 == 0)
                QTest::qSleep(100), bench.waitNs += 100'000'000; // for room on the line
        };
        for (const int seconds : {2, 0}) { // the second run ends before it could look
            bench.byComputer = 0;
            bench.begin({.packetsPerSecond = 1000, .durationSec = seconds});
            QTest::qSleep(60);
            QVERIFY(QTest::qWaitFor([&] { return seconds == 0 || bench.did.contains("end"); }));
            bench.timing.endRun();
            const qint64 byLine = std::exchange(bench.byLine, 0);
            QVERIFY(bench.byComputer >= 60 - 20 && byLine / 40 >= seconds);
            QVERIFY(byLine <= bench.waitNs / 1'000'000);
            QVERIFY(seconds == 0 || sent + bench.byComputer + byLine == 2000);
        }

        qint64 lagNs = secondNs; // of a first ping; a busy machine needs a few runs for a short one
        bench.callbacks.send = [&] {
            lagNs = bench.timing.nowNs() - bench.timing.dueNs();
            bench.timing.endRun();
        };
        for (int run = 0; run < 50 && lagNs > 10'000'000; ++run) {
            lagNs = 0;
            bench.begin({.packetsPerSecond = 40});
            QVERIFY(QTest::qWaitFor([&] { return lagNs > 0; }));
        }
        QVERIFY(lagNs <= 10'000'000);
    }

    void endsFromInsideAnyDeed()
    {
        using Callbacks = EngineTiming::Callbacks;
        for (const auto callback : {&Callbacks::send, &Callbacks::sweep, &Callbacks::publish}) {
            TimingBench<ExactTiming> bench;
            int calls = 0;
            bench.callbacks.*callback = [&] {
                ++calls;
                bench.timing.endRun();
            };
            bench.begin({.packetsPerSecond = 1000});
            QTest::qSleep(30); // many pings are due
            QVERIFY(QTest::qWaitFor([&] { return calls > 0; }));
            leavesNothing(bench);
            QCOMPARE(calls, 1);
        }
    }

    /** Neither a line that stays ready nor one that is dead. */
    void letsOthersHaveTheirTurn()
    {
        TimingBench<ExactTiming> ready, dead;
        ready.callbacks.look = [] { return false; };
        for (auto* each : {&ready, &dead}) {
            each->begin({.packetsPerSecond = 1});
            each->line.send("x");
        }
        const auto extraLooks = [&] { return dead.did.count("look") - dead.did.count("sweep"); };
        // As soon as something is there; a ping that is due has it looked at, too.
        QVERIFY(QTest::qWaitFor(
            [&] { return dead.line.send("x"), extraLooks() > 3 + 3 * dead.did.count("send"); }));
        dead.did.clear();
        dead.line.hangUp();
        QVERIFY(QTest::qWaitFor(
            [&] { return dead.did.count("publish") >= 2 && ready.did.count("publish") >= 2; }));
        QVERIFY(extraLooks() <= 3);
    }

    void waitsNoLongerThanForTheLastReply()
    {
        TimingBench<ExactTiming> bench;
        int open = 3;
        bench.callbacks.look = [&] {
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

        TimingBench<ExactTiming> dead; // is looked at now and then
        dead.begin({});
        dead.timing.endRun();
        dead.line.hangUp();
        const qint64 beginNs = dead.timing.nowNs();
        dead.timing.waitForReplies(50, [] { return false; });
        QVERIFY(dead.timing.nowNs() - beginNs >= 50'000'000);
        QVERIFY(dead.did.size() >= 2 && dead.did.size() <= 7);
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
