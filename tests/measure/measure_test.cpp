#include "measure/PingRecord.h"
#include "measure/RunMeasurement.h"
#include "measure/figuresJson.h"
#include "tests/support/contentsOf.h"

#include <QtTest>

#include <malloc.h>

#include <cmath>
#include <functional>
#include <map>

namespace {

constexpr qint64 nsPerSec = 1'000'000'000;

struct Told : PingSink
{
    QByteArray fates;
    QStringList pings; ///< size, moment in us and round trip in ns of each
    void pingEnded(const PingRecord& ping) override
    {
        pings +=
            QString("%1 %2 %3").arg(ping.sizeBytes).arg(ping.sentNs / 1000).arg(ping.roundTripNs);
        fates += qint64(ping.id) == fates.size() ? "RALEC-"[int(ping.fate)] : '?';
    }
};

/** Tells one event a millisecond, each a word: what happened, and to which ping. */
void play(RunMeasurement& run, const QString& script)
{
    quint64 next = 0, id = 0;
    const std::array<uint8_t, 12> bytes{};
    qint64 at = 7 * nsPerSec;
    const auto ping = [&] { return PingObserver::Sent{next, int(8 + next), at - 2500, at}; };
    const auto echo = [&](bool afterEnd) {
        return PingObserver::Echo{id, at, (afterEnd ? 9 : 1 + qint64(id)) * 1'000'040, afterEnd};
    };
    const std::map<QChar, std::function<void()>> tell{
        {'s', [&] { run.pingSent(ping()), ++next; }},
        {'f', [&] { run.sendFailed(next++, 8, at); }},
        {'m', [&] { run.echoMatched(echo(false)); }},
        {'a', [&] { run.echoMatched(echo(true)); }},
        {'c', [&] { run.echoChanged(echo(false)); }},
        {'g', [&] { run.pingGivenUp(id, at, false); }},
        {'e', [&] { run.pingGivenUp(id, at, true); }},
        {'o', [&] { run.otherArrived(PingObserver::Other(id % 10), id / 10, at); }},
        {'l', [&] { run.pingsLeftOut({.byComputer = 3, .byLine = 7}, at); }},
        {'b', [&] { run.frameTaken(bytes, at), run.bytesSkipped(std::span(bytes).first(3), at); }},
        {'v', [&] { run.bytesOverrun(std::span(bytes).first(4), at); }},
        {'n', [&] { run.errorReplied(PingObserver::noCode, at); }},
        {'x', [&] { run.errorReplied(int(id), at); }},
        {'w', [&] { at += qint64(id) * 1'000'000; }},
        {'.', [&] { run.sendingEnded(at); }},
        {'!', [&] { run.runEnded(at); }}};
    run.runBegan(at);
    for (const QString& word : script.split(' ')) {
        id = QStringView(word).mid(1).toULongLong();
        at += 1'000'000;
        tell.at(word[0])();
    }
}

} // namespace

/** What the figures of a run are made of, from round trips to the report's fields. */
class MeasureTest : public QObject
{
    Q_OBJECT

private slots:
    void sortsTimesIntoBins()
    {
        LatencyHistogram times;
        const auto figures = [&times] {
            QString text =
                QString::asprintf("%.3f %.3f %.3f %.3f:", times.minimumUs(), times.meanUs(),
                                  times.maximumUs(), times.standardDeviationUs());
            for (const auto& [lowerUs, upperUs, count] : times.bins())
                text += QString::asprintf(" %.3f-%.3f %llu", lowerUs, upperUs, count);
            for (const double q : {0.0, 0.5, 1.0})
                text += QString::asprintf(" %.3f", times.percentileUs(q).value_or(-1));
            return text;
        };
        for (int use = 0; use < 2; ++use) {
            QCOMPARE(figures(), "0.000 0.000 0.000 0.000: -1.000 -1.000 -1.000");
            for (const qint64 ns : {5000, -7, 999, 1000})
                times.add(ns);
            times.merge(LatencyHistogram());
            QCOMPARE(figures(), "0.000 1.750 5.000 1.920: 0.000-1.000 2 1.000-1.020 1 4.968-5.067 1"
                                " 0.000 1.000 5.000");
            LatencyHistogram longer;
            for (const qint64 ns : {29'999'999'000, 30'000'000'000, 70'000'000'000})
                longer.add(ns);
            LatencyHistogram alone;
            alone.merge(longer);
            QCOMPARE(alone.minimumUs(), 29'999'999.0);
            times.merge(longer);
            QCOMPARE(figures(), "0.000 18571429.428 70000000.000 24743582.149: 0.000-1.000 2 "
                                "1.000-1.020 1 4.968-5.067 1 29412156.115-30000000.000 1 "
                                "30000000.000-70000000.000 2 0.000 5.017 70000000.000");
            times.clear();
        }
    }

    void hasTimeGoOnWithWhateverIsTold()
    {
        for (const QString& event : QStringList{"s", "f", "m0", "c0", "g0", "o0", "x1", ".", "!"}) {
            for (const auto& [script, sendingMs] :
                 {std::tuple("w249 s w2247 ", 2500), {"w249 s w497 . w1748 ", 750}}) {
                RunMeasurement run;
                play(run, script + event);
                const RunFigures now = run.figures();
                QVERIFY2(now.spans.size() == 3 && now.spans[2].lengthSec == 0.5, qPrintable(event));
                QCOMPARE(now.sendingNs, sendingMs * 1'000'000LL);
                QVERIFY(now.spans[0].sent == 1 && run.lastSecond()->startSec == 1);
            }
        }
    }

    void tellsOfTheLastSecond()
    {
        RunMeasurement run;
        play(run, "s s s s m0 m3 w992");
        QVERIFY(!run.lastSecond());
        play(run, "s s s s m0 m3 w992 g2");
        const TimeSpan last = *run.lastSecond();
        QVERIFY(last.lengthSec == 1 && last.sent == 4 && last.received == 2 && last.lost == 0);
        QCOMPARE(QString::asprintf("%.2f %.2f", *last.p50Us, *last.p99Us), "1018.68 3999.97");
    }

    void dividesRunsOfAnyLengthInLittleMemory()
    {
        for (const auto& [endSec, count, lengthSec, lastSec] : {std::tuple(3620.0, 3620U, 1, 1.0),
                                                                {3619.5, 3620U, 1, 0.5},
                                                                {3620.001, 1811U, 2, 0.001},
                                                                {14481.5, 1811U, 8, 1.5}}) {
            const auto before = mallinfo2();
            RunMeasurement run;
            run.runBegan(0);
            quint64 id = 0;
            for (; id < quint64(std::ceil(endSec)); ++id) {
                run.pingSent({id, 8, -1, qint64(id) * nsPerSec});
                run.pingGivenUp(id, 0, false); // told too late for its span
            }
            run.sendingEnded(std::llround(endSec * 1e9));
            run.otherArrived(PingObserver::Other::Report, 0, 0);
            const auto after = mallinfo2();
            QVERIFY(after.uordblks + after.hblkhd < before.uordblks + before.hblkhd + 1'000'000);
            const std::vector<TimeSpan> all = run.figures().spans;
            QCOMPARE(all.size(), count);
            for (std::size_t i = 0; i < count; ++i) {
                QCOMPARE(all[i].startSec, qint64(i) * lengthSec);
                QCOMPARE(all[i].lengthSec, i + 1 < count ? lengthSec : lastSec);
                QCOMPARE(all[i].sent, quint64(std::ceil(all[i].lengthSec)));
                QVERIFY(all[i].lost == all[i].sent && !all[i].p50Us);
            }
        }
    }

    void keepsUpWithALongRun()
    {
        RunMeasurement run;
        std::vector<std::vector<double>> exact(1950);
        run.runBegan(0);
        quint64 id = 0;
        for (int ms = 0; ms < 7'800'000;
             ms += std::array{10, 100, 1000, 9000}[std::size_t(ms) / 9000 % 4]) {
            const qint64 tripNs = 500'000 + qint64(id * id % 9001) * 1000;
            run.pingSent({id, 8, -1, ms * 1'000'000LL});
            run.echoMatched({id++, ms * 1'000'000LL + tripNs, tripNs, false});
            exact[std::size_t(ms / 4000)].push_back(double(tripNs) / 1000);
        }
        run.runEnded(7800 * nsPerSec);
        QVERIFY(run.lastSecond()->startSec == 7799 && !run.figures().sendLagUs);
        const std::vector<TimeSpan> spans = run.figures().spans;
        for (std::size_t i = 0; i < exact.size(); ++i) {
            std::sort(exact[i].begin(), exact[i].end());
            QCOMPARE(spans[i].received, exact[i].size());
            QCOMPARE(spans[i].maximumUs.value_or(0), exact[i].empty() ? 0 : exact[i].back());
            const double p50Us = exact[i].empty() ? 1 : exact[i][(exact[i].size() - 1) / 2];
            QVERIFY(std::abs(spans[i].p50Us.value_or(1) / p50Us - 1) <= 0.02);
        }
    }

    void followsPings()
    {
        QString many = "s m0 s";
        QString back = " m70000";
        for (int id = 2; id <= 70'000; ++id) {
            many += " s";
            back += QString(" m%1").arg(70'001 - id);
        }
        Told told;
        RunMeasurement run(&told);
        // Fates in order; bursts, the longest, late echoes, repeated ones, the soonest, overtaken.
        for (const auto& [script, fates, counts] :
             {std::tuple(QString("s f s s f s g0 g2 m3 . e5"), QByteArray("L-LR-E"),
                         QList<quint64>{2, 2, 0, 0, 0, 0}),
              {"s s s s g0 m1 c2 o00 o10 o20 o00 g3", "LRCL", {2, 2, 2, 2, 7000, 0}},
              {many + back + " o700000 o44650 o44640",
               QByteArray(70'001, 'R'),
               {0, 0, 1, 2, 0, 69'999}}}) {
            play(run, script);
            QCOMPARE(std::exchange(told.fates, {}), fates);
            const RunFigures now = run.figures();
            const auto& [bursts, echoes] = std::tuple(now.lossBursts, now.unexpected);
            QCOMPARE((QList{bursts.count, bursts.longest, echoes.lateEchoes, echoes.repeatedEchoes,
                            quint64(now.soonestLateUs.value_or(0)), now.outOfOrderEchoes}),
                     counts);
        }
        told.pings.clear();
        play(run, "s f s s m2 c0 a3");
        QCOMPARE(told.pings, (QStringList{"8 1000 1000040", "8 2000 -1", "10 3000 3000120",
                                          "11 4000 9000360"}));
    }

    void reports()
    {
        RunMeasurement run;
        play(run, "s s s s s s s m6 f g0 g1 x7 " + QString("o1 ").repeated(1987) + "m2");
        QCOMPARE(run.figures().spans.size(), 3U); // ends with what begins its third second
        play(run, "s s f s s s s s s s s m5 m0 m1 c3 g4 g7 o40 o40 o40 o40 o00 o10 o00 o1 o2 o2 " +
                      QString("o3 ").repeated(5) + QString("o4 ").repeated(6) +
                      "x2 n x200 n x2 l l . a6 e8 e9 e10 b b v");
        QCOMPARE(QJsonDocument(figuresJson(run.figures())).toJson(),
                 QJsonDocument::fromJson(contentsOf(EXPECTED)).toJson());
        QVERIFY(run.figures().leftOut.byComputer == 6 && run.figures().leftOut.byLine == 14);
        QCOMPARE(run.figures().sendingNs, 46'000'000);
        play(run, ".");
        const QJsonObject nothing = figuresJson(run.figures());
        QVERIFY(nothing["latencyUs"]["p50"].isNull() && nothing["sendLagUs"]["p99"].isNull());
    }
};

QTEST_GUILESS_MAIN(MeasureTest)
#include "measure_test.moc"
