#include "engine/ExactTiming.h"
#include "engine/WindowTiming.h"
#include "tests/engine/timers.h"
#include "tests/support/RawLine.h"

#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QTest>

#include <array>
#include <cmath>
#include <cstdio>

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
    /** Each running timer and what it does: "100 precise: look sweep". */
    QStringList timers()
    {
        QStringList told = runningTimers(owner);
        qsizetype n = 0;
        for (QTimer* timer : owner.findChildren<QTimer*>()) {
            did.clear();
            if (timer->isActive() && QMetaObject::invokeMethod(timer, "timeout"))
                told[n++] += ": " + did.join(' ');
        }
        did.clear();
        return told;
    }
};

/** The alarm of the only exact timing there is: when it goes off next, and the interval. */
struct Alarm
{
    qint64 leastNs = 0; ///< the next time lies between these two
    qint64 mostNs = 0;
    qint64 intervalNs = 0;

    explicit Alarm(const SteadyClock& clock)
    {
        for (int descriptor = 3; descriptor < 100; ++descriptor) {
            QFile info(QStringLiteral("/proc/self/fdinfo/%1").arg(descriptor));
            if (!info.open(QIODevice::ReadOnly))
                continue;
            leastNs = clock.nowNs();
            const QByteArray text = info.readAll();
            mostNs = clock.nowNs();
            std::array<qint64, 4> figures{};
            const qsizetype at = text.indexOf("it_value");
            if (at < 0)
                continue;
            std::sscanf(text.constData() + at, "it_value: (%lld, %lld)\nit_interval: (%lld, %lld)",
                        &figures[0], &figures[1], &figures[2], &figures[3]);
            leastNs += figures[0] * secondNs + figures[1];
            mostNs += figures[0] * secondNs + figures[1];
            intervalNs = figures[2] * secondNs + figures[3];
            return;
        }
    }
    bool isAt(qint64 ns) const { return leastNs <= ns && ns <= mostNs; }
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
            schedule.begin(-secondNs, rate, 0);                      // a moment like any other
            QCOMPARE(schedule.countDue(secondNs), rate);
        }
    }

    void makesUpForWhatALateWakeUpMissed()
    {
        // Rate, lateness in ms behind the first due ping; missed, sent at once.
        for (const auto& [rate, lateMs, missed, burst] : {std::tuple(1000, 0, 1, 20),
                                                          {1000, 99, 100, 20},
                                                          {600, 50, 31, 12},
                                                          {149, 0, 1, 2},
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
            QCOMPARE(schedule.nextDueNs(), (missed + 1) * secondNs / rate);
        }
    }

    void hasItsTimers()
    {
        const QStringList common{"100 precise: sweep", "10 precise: look", "100 precise: publish"};
        // Pings per second, duration; what is there besides the common ones.
        for (const auto& [rate, seconds, send, end] :
             {std::tuple(1, 0, "1000 precise: send", ""),
              {7, 3, "142 precise: send", "3000 precise once: end"},
              {600, 3600, "1 precise: send", "3600000 precise once: end"}}) {
            TimingBench<WindowTiming> window;
            QVERIFY(!window.timing.isSendingPaused());
            window.timing.pauseSending(); // no run, nothing to pause
            window.begin({.packetsPerSecond = rate, .durationSec = seconds});
            QStringList all = QStringList(send) + common;
            QCOMPARE(window.timers(), seconds > 0 ? all << end : all);
        }
        TimingBench<WindowTiming> window;
        window.begin({.packetsPerSecond = 3});
        window.timing.pauseSending();
        QVERIFY(window.timing.isSendingPaused());
        QCOMPARE(window.timers(), common);
        window.timing.resumeSending();
        QVERIFY(!window.timing.isSendingPaused());
        QCOMPARE(window.timers(), QStringList("333 precise: send") + common);
        QVERIFY(window.timing.dueNs() == -1 && !window.timing.sparesLine());

        TimingBench<ExactTiming> exact;
        exact.begin({.packetsPerSecond = 3, .durationSec = 3});
        QCOMPARE(exact.timers(), (QStringList{"100 precise: look sweep", "100 precise: publish"}));
        QVERIFY(exact.timing.sparesLine());
        leavesNothing(window);
        leavesNothing(exact);
        for (int connection = 0; connection < 2; ++connection) {
            exact.timing.startDisplay(1000);
            QCOMPARE(exact.timers(), QStringList{"1000: show"});
            exact.timing.stopDisplay();
            QCOMPARE(exact.timers(), QStringList());
        }
        const qint64 startNs = exact.timing.nowNs();
        exact.timing.pause(20);
        QVERIFY(exact.timing.nowNs() - startNs >= 20'000'000);
    }

    void setsItsAlarm()
    {
        for (const auto& [rate, seconds] :
             {std::pair(1, 0), {3, 0}, {7, 1}, {40, 0}, {1000, 2}, {1, 1}}) {
            TimingBench<ExactTiming> bench;
            const qint64 before = bench.timing.nowNs();
            bench.begin({.packetsPerSecond = rate, .durationSec = seconds});
            const qint64 after = bench.timing.nowNs();
            const qint64 due = bench.timing.dueNs();
            QVERIFY(before + secondNs / rate <= due && due <= after + secondNs / rate);
            QVERIFY(rate == 1000 || Alarm(bench.timing).isAt(due));
            QCOMPARE(Alarm(bench.timing).intervalNs, qint64(std::ceil(1e9 / rate)));
            QStringList watched;
            for (const auto* notifier : bench.owner.findChildren<QSocketNotifier*>())
                watched += QStringLiteral("%1%2%3")
                               .arg(notifier->socket() == bench.line.otherEnd() ? "line " : "")
                               .arg(notifier->type())
                               .arg(notifier->isEnabled());
            QCOMPARE(watched, (QStringList{"01", "line 01"}));

            bench.timing.pauseSending();
            QVERIFY(bench.timing.isSendingPaused());
            QTest::qSleep(5);
            const qint64 resumed = bench.timing.nowNs();
            bench.timing.resumeSending();
            QVERIFY(!bench.timing.isSendingPaused());
            QVERIFY(bench.timing.dueNs() >= resumed + secondNs / rate);
            QVERIFY(bench.timing.dueNs() <= bench.timing.nowNs() + secondNs / rate);
            const bool endsFirst = seconds == 1 && rate == 1; // at what was the first due moment
            QVERIFY(rate == 1000 ||
                    Alarm(bench.timing).isAt(endsFirst ? due : bench.timing.dueNs()));
            QCOMPARE(Alarm(bench.timing).intervalNs, endsFirst ? 0 : qint64(std::ceil(1e9 / rate)));
            bench.timing.endRun();
            QVERIFY(!bench.timing.isSendingPaused());
        }
    }

    void runsForItsDuration()
    {
        TimingBench<ExactTiming> bench, paused;
        QList<qint64> dues;
        bool early = false;
        bench.deeds.send = [&] {
            dues += bench.timing.dueNs();
            early = early || dues.last() > bench.timing.nowNs();
        };
        qint64 endedNs = 0;
        bench.deeds.endInTime = [&] {
            endedNs = bench.timing.nowNs();
            bench.timing.endRun();
        };
        paused.deeds.send = [&] {
            paused.did += "send";
            if (paused.did.count("send") == 2)
                paused.timing.pauseSending();
        };
        paused.deeds.endInTime = [&] { paused.did += "end", paused.timing.endRun(); };
        paused.begin({.packetsPerSecond = 16, .durationSec = 1});
        bench.begin({.packetsPerSecond = 40, .durationSec = 1});
        const qint64 interval = 25'000'000;
        const qint64 startNs = bench.timing.dueNs() - interval;
        QTRY_VERIFY(endedNs != 0 && paused.did.contains("end"));
        QVERIFY(endedNs >= startNs + secondNs && !early && !dues.isEmpty());
        qint64 last = startNs;
        for (const qint64 due : dues) { // on the schedule, none twice
            QVERIFY((due - startNs) % interval == 0 && due > last);
            last = due;
        }
        QVERIFY(last <= startNs + secondNs);
        QVERIFY(bench.did.count("sweep") > 0 && bench.did.count("publish") > 0);
        QCOMPARE(paused.did.count("send"), 2);
        leavesNothing(bench);
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
        const auto ends = [](const char* deed, const auto& change) {
            TimingBench<ExactTiming> bench;
            int calls = 0;
            change(bench, [&] {
                ++calls;
                bench.timing.endRun();
            });
            bench.begin({.packetsPerSecond = 1000, .durationSec = 1});
            QTest::qSleep(30); // many pings are due
            QTRY_VERIFY2(calls > 0, deed);
            leavesNothing(bench);
            QCOMPARE(calls, 1);
        };
        ends("send", [](auto& bench, const auto& end) { bench.deeds.send = end; });
        ends("sweep", [](auto& bench, const auto& end) { bench.deeds.sweep = end; });
        ends("publish", [](auto& bench, const auto& end) { bench.deeds.publish = end; });
        ends("look", [](auto& bench, const auto& end) {
            bench.line.send("x");
            bench.deeds.look = [end] { return end(), false; };
        });
    }

    void endsBetweenTwoDeeds()
    {
        TimingBench<ExactTiming> bench;
        bench.deeds.send = [&] {
            bench.did += "send";
            bench.line.send("x"); // ready together with the next alarm
            QTest::qSleep(25);
            if (bench.did.count("send") == 2)
                bench.timing.endRun();
        };
        bench.begin({.packetsPerSecond = 49});
        QTRY_VERIFY(bench.did.count("send") == 2);
        QCOMPARE(bench.did.last(), "send");
        leavesNothing(bench);
    }

    void letsOthersHaveTheirTurn()
    {
        TimingBench<ExactTiming> bench;
        bench.deeds.look = [&] { return false; }; // so that the line stays ready
        bench.begin({.packetsPerSecond = 1});
        bench.line.send("x");
        QTRY_VERIFY(bench.did.count("publish") >= 2);
        for (const auto* notifier : bench.owner.findChildren<QSocketNotifier*>())
            QVERIFY(notifier->isEnabled()); // it may have something to read yet
    }

    void doesNotSpinOnADeadLine()
    {
        TimingBench<ExactTiming> bench;
        auto line = std::make_unique<RawLine>();
        const int descriptor = dup(line->otherEnd());
        bench.deeds.look = [&] {
            bench.did += "look";
            char byte = 0;
            return ::read(descriptor, &byte, 1) > 0;
        };
        bench.timing.attach(&bench.owner, bench.deeds);
        bench.timing.beginRun({.packetsPerSecond = 1}, descriptor);
        line->send("x");
        QTRY_COMPARE(bench.did.count("look"), 1); // as soon as something is there
        line.reset();
        QTRY_VERIFY(bench.did.count("publish") >= 2);
        QVERIFY2(bench.did.count("look") <= bench.did.count("sweep") + 3,
                 qPrintable(bench.did.join(' ')));
        bench.timing.endRun();
        ::close(descriptor);
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
        for (const auto& [isDead, most] : {std::pair(false, 3), {true, 7}}) {
            TimingBench<ExactTiming> idle;
            idle.begin({});
            idle.timing.endRun();
            idle.did.clear();
            if (isDead)
                idle.line.hangUp();
            const qint64 beginNs = idle.timing.nowNs();
            idle.timing.waitForReplies(50, [] { return false; });
            QVERIFY(idle.timing.nowNs() - beginNs >= 50'000'000);
            QVERIFY2(idle.did.size() >= 2 && idle.did.size() <= most,
                     qPrintable(idle.did.join(' ')));
        }
    }

private:
    /** Ends a run, if it has not ended, and looks that nothing more is done. */
    template <typename Timing> static void leavesNothing(TimingBench<Timing>& bench)
    {
        bench.timing.endRun();
        QCOMPARE(runningTimers(bench.owner), QStringList());
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
