#include "engine/EventRow.h"
#include "engine/timing/wallTime.h"
#include "tests/engine/EngineBench.h"
#include "tests/support/contentsOf.h"
#include "tests/support/processes.h"

#include <QtTest>

#include <array>
#include <chrono>

namespace {

using Bench = EngineBench;

QByteArray echo(const QByteArray& payload)
{
    return frame(0x40, payload);
}

qint64 wallMs()
{
    using namespace std::chrono;
    return floor<milliseconds>(system_clock::now().time_since_epoch()).count();
}

QStringList expected(const QString& heading)
{
    return linesOf(EXPECTED, heading);
}

} // namespace

class EngineTest : public QObject
{
    Q_OBJECT

private slots:
    static void initTestCase() { tellDatesApart(); }

    void reportsALifeInOrder()
    {
        Bench bench;
        bench.timed = true;
        bench.startNs = bench.time->nowNs();
        const QString port = bench.line.path();
        int earlyBytes = 0; // while the module settles
        bench.time->meanwhile = [&] { earlyBytes += int(bench.line.take(0).size()); };
        bench.worker.startTest({});
        bench.worker.stopTest();
        bench.worker.disconnectPort();
        bench.worker.connectToPort("/nowhere/%1%2", 9600);
        bench.worker.connectToPort(port, 57600);
        bench.worker.connectToPort("/dev/null", 9600);
        bench.worker.connectToPort(port, 9600);
        bench.time->meanwhile = [] {};
        QCOMPARE(earlyBytes, 0);
        QCOMPARE(bench.line.take(4), frame(6));
        bench.worker.connectToPort(port, 9600);
        bench.worker.startTest({.timeoutMs = 50});
        bench.worker.startTest({.timeoutMs = 5000});
        bench.port().closePort(); // behind the engine's back
        bench.worker.disconnectPort();
        bench.port().openPort(port, 9600);
        bench.worker.disconnectPort();
        bench.worker.disconnectPort();
        QStringList life = expected("a life");
        QCOMPARE(bench.take(), life.replaceInStrings("PORT", port));
    }

    void servesAnInstrument()
    {
        Bench bench(Bench::Instrument);
        bench.worker.connectToPort(bench.line.path(), 115200);
        bench.time->pass(1001);
        QCOMPARE(bench.line.take(0), QByteArray()); // nothing on its screen
        bench.time->due = 4711;
        bench.start({.minDataSize = 124, .maxDataSize = 124, .timeoutMs = 50});
        QCOMPARE(bench.time->descriptor, bench.port().descriptor());
        QByteArray echoes;
        for (int i = 0; i < 30; ++i)
            echoes += echo(bench.ping());
        QCOMPARE(bench.told.lastDueNs, 4711);
        QVERIFY(!bench.time->look());
        bench.line.send(echoes.chopped(1)); // three times what the receive ring takes
        while (bench.time->look()) {
        }
        QCOMPARE(bench.told.calls.filter("matched").size(), 29);
        bench.time->meanwhile = [&] { bench.line.send(std::exchange(echoes, {}).right(1)); };
        bench.worker.stopTest();
        QCOMPARE(bench.time->wasOver, (QList<bool>{false, true}));
        bench.start({});
        bench.take();
        bench.held.reset(); // ends the run and closes the port
        QCOMPARE(bench.take().mid(3),
                 (QStringList{"completed", "disconnected", "INFO: Disconnected from port"}));
    }

    void drawsPayloads()
    {
        Bench bench(Bench::Window, Payload::Kind::Random);
        bench.connectIt();
        // Sizes asked for, and sizes drawn.
        for (const auto& [minimum, maximum, drawn] : QList<std::tuple<int, int, QSet<qsizetype>>>{
                 {5, 10, {8, 9, 10}}, {20, 22, {20, 21, 22}}, {124, 124, {124}}}) {
            bench.start({.minDataSize = minimum, .maxDataSize = maximum, .timeoutMs = 50});
            QSet<qsizetype> sizes;
            std::array<QSet<char>, 124> fillers; // by position
            for (int i = 0; i < 6000; ++i) {
                const QByteArray payload = bench.ping();
                sizes += payload.size();
                for (qsizetype at = 8; at < payload.size(); ++at)
                    fillers[size_t(at)] += payload[at];
                bench.time->skip(51);
                bench.step("checkTimeouts");
            }
            bench.worker.stopTest();
            QCOMPARE(sizes, drawn);
            for (size_t at = 8; minimum == 124 && at < 124; ++at)
                QCOMPARE(fillers[at].size(), 256);
        }
    }

    void tellsOfFailedSends()
    {
        Bench bench(8, 50);
        bench.port().closePort();
        bench.time->skip(7);
        QStringList expected;
        for (int id = 0; id < 12; ++id) {
            bench.step("sendNextPacket");
            expected += QStringLiteral("ERROR: Failed to send packet %1").arg(id);
        }
        QCOMPARE(bench.take(), expected);
        QCOMPARE(bench.told.calls.first(), "failed0(8) 7");
        bench.port().openPort(bench.line.path(), 115200);
        QCOMPARE(bench.ping(), QByteArray("\x0C\0\0\0\0\0\0\0", 8));
        bench.worker.stopTest();
        QCOMPARE(bench.take().value(2), "statistics 1/0/1 0.0% 0 999999..0 0");
    }

    void sortsReplies()
    {
        const auto bare = [](uint8_t command, const QByteArray& data = {}) {
            return [=](const QByteArray&) { return frame(command, data); };
        };
        // One kind of reply a line: what it makes of a ping, what the log and the observer get.
        // clang-format off
        using Reply = std::function<QByteArray(QByteArray payload)>;
        const QList<std::tuple<Reply, QStringList, QString>> cases{
            {[](auto p) { return echo(p) + echo(p); }, {"SUCCESS: Packet 0: 0ms", "WARNING: Received reply for unknown sequence ID: 0"}, "matched0(0) 0, late0 0"},
            {[](auto p) { return echo(p.chopped(1) + char(~p.back())); }, {"ERROR: Packet 1: Data mismatch! Expected 20 bytes, got 20"}, "changed1(0) 0"},
            {[](auto p) { return echo(p.left(8)); }, {"ERROR: Packet 2: Data mismatch! Expected 20 bytes, got 8"}, "changed2(0) 0"},
            {[](auto p) { return echo(p + "x"); }, {"ERROR: Packet 3: Data mismatch! Expected 20 bytes, got 21"}, "changed3(0) 0"},
            {[](auto p) { return echo(p.left(7)); }, {"WARNING: Received reply with insufficient data"}, "short0 0"},
            {bare(0x40, QByteArray("\6\0\0\0\0\0\0\0", 8)), {"WARNING: Received reply for unknown sequence ID: 6"}, "unknown6 0"},
            {[](auto p) { return frame(0x46, p) + frame(0x5F, p); }, {}, ""},
            {[](auto p) { return frame(0x80) + echo(p) + frame(0xC0, QByteArray(1, 0)); },
             {"INFO: Device report: 0x80", "SUCCESS: Packet 7: 0ms", "ERROR: Device error response: 0xc0, error code: 0"}, "report0 0, matched7(0) 0, error0 0"},
            {bare(0xFF, "\xFE\x01"), {"ERROR: Device error response: 0xff, error code: 254"}, "error254 0"},
            {bare(0xC3), {"ERROR: Device error response: 0xc3, error code: 0"}, "error-1 0"},
            {bare(0xBF), {"INFO: Device report: 0xbf"}, "report0 0"},
            {[](auto) { return frame(0x7F) + frame(1); }, {"WARNING: Received unexpected packet with command: 0x7f", "WARNING: Received unexpected packet with command: 0x01"}, "packet0 0, packet0 0"},
        };
        // clang-format on
        Bench bench(20, 50);
        bench.time->tickNs = 100;
        for (const auto& [reply, lines, told] : cases) {
            const QByteArray payload = bench.ping();
            const qint64 sentNs = bench.told.lastNs;
            QCOMPARE(sentNs, bench.port().lastWriteNs());
            bench.take();
            bench.told.calls.clear();
            bench.answer(reply(payload));
            QCOMPARE(bench.take(), lines);
            QCOMPARE(bench.told.calls.join(", "), told);
            QVERIFY(told.isEmpty() || bench.told.lastNs == bench.port().lastReadNs());
            if (told.startsWith("changed"))
                QCOMPARE(bench.told.roundTripNs, bench.port().lastReadNs() - sentNs);
        }
        bench.worker.stopTest();
        QVERIFY(bench.take().contains("statistics 12/2/10 16.7% 0 0..0 0"));
    }

    void takesFramesInOrder()
    {
        Bench bench(20, 50);
        const QByteArray start = "\x81\x40"; // of a frame that never comes
        const QByteArray payload = bench.ping();
        bench.take();
        bench.answer(start + frame(0xC0, "\x07"));
        QCOMPARE(bench.take(), QStringList());
        bench.answer(echo(payload)); // not held up, and what is in front of it comes first
        QCOMPARE(bench.told.calls.join(", "), "sent0(20) 0, error7 0, matched0(0) 0");
        bench.take();

        bench.answer(start + frame(0x80));
        bench.time->pass(50);
        QCOMPARE(bench.take(), QStringList());
        bench.time->pass(10); // a look later the line has been silent for long
        QCOMPARE(bench.take(), QStringList("INFO: Device report: 0x80"));
        QCOMPARE(bench.told.calls.last(), "report0 0"); // when it was read

        // Nothing is left behind at a run's end, nor read as the next run's.
        bench.time->meanwhile = [&, n = 0]() mutable {
            if (++n == 600)
                bench.line.send(start + frame(0x82));
        };
        bench.answer(start + frame(0x81));
        bench.worker.stopTest();
        QCOMPARE(bench.time->wasOver, QList({false, false})); // though no ping was open
        QVERIFY(bench.take().contains("INFO: Device report: 0x82"));
        bench.line.send(start + frame(0x83));
        bench.worker.startTest({});
        QCOMPARE(bench.take(), QStringList({"INFO: Test started", "INFO: Device report: 0x83"}));
    }

    void takesAnEchoForLateByItsRoundTrip()
    {
        for (const char* told : {"matched0(50) 50, changed1(50) 50, stopped 50, matched2(50 after",
                                 "expired0 50, late0 50, expired1 50, late1 50, stopped 50, "
                                 "expired2 50, late2 50, ended"}) {
            Bench bench(Bench::Instrument);
            bench.worker.connectToPort(bench.line.path(), 115200);
            bench.start({.minDataSize = 9, .maxDataSize = 9, .timeoutMs = 50});
            const QByteArray pings[] = {bench.ping(), bench.ping(), bench.ping()};
            bench.time->skip(50);
            bench.time->tickNs = *told == 'e' ? 1 : 0; // it is exceeded by that
            bench.told.calls.clear();
            bench.answer(echo(pings[0]) + echo(pings[1].chopped(1)));
            bench.line.send(echo(pings[2]));
            bench.worker.stopTest();
            QVERIFY2(bench.told.calls.join(", ").startsWith(told), told);
            QCOMPARE(bench.take().filter("timeout after").size(), *told == 'e' ? 3 : 0);
            QCOMPARE(bench.stats.packetsLost, *told == 'e' ? 3 : 1);
        }
    }

    void runsToTheMillisecond()
    {
        // The last moment of the final wait brings an echo, another one never comes.
        Bench bench;
        bench.connectIt();
        bench.timed = true;
        bench.time->pass(10);
        bench.answerAfter([](quint64 id) { return std::array{30, 0, 20, 1200, 0}[id]; });
        for (int run = 0; run < 2; ++run) { // the second begins where the first did: at nothing
            bench.time->pass(360);          // 630 ms before the screen is due again
            bench.take();
            const qint64 before = wallMs();
            bench.line.send(echo(QByteArray("\1\0\0\0\0\0\0\0", 8)) +
                            frame(0x81)); // of earlier times
            bench.start({5, 8, 8, 250, 1});
            const qint64 after = wallMs();
            bench.time->pass(1000);
            QCOMPARE(bench.take(), expected("a run"));
            QVERIFY(before <= bench.stats.startTime && bench.stats.startTime <= after);
            QCOMPARE(bench.told.calls, expected("its pings"));
            bench.time->pass(1640); // nothing is left of it
            QCOMPARE(bench.take(), (QStringList{"2630 0,0 NOW", "2630 0,1 Ready", //
                                                "3630 0,0 NOW", "3630 0,1 Ready"}));
        }
    }

    void stampsNothingAheadOfTime()
    {
        for (const qint64 end = wallMs() + 3; wallMs() < end;) {
            const qint64 before = wallMs();
            const qint64 stamp = wallTime().toMSecsSinceEpoch();
            QVERIFY(before <= stamp && stamp <= wallMs());
        }
    }

    void pausesAndResumes()
    {
        Bench bench;
        bench.connectIt();
        bench.timed = true;
        QStringList expected{"2002 WARNING: Too many pending packets (1000), pausing send"};
        for (const int answered : {500, 501}) { // the first run ends in its pause
            bench.answerAfter([=](quint64 id) { return int(id) < answered ? 2250 : 0; });
            bench.start({500, 8, 8, 5000, 0});
            bench.time->pass(3400);
            QCOMPARE(bench.take().filter(QRegularExpression(" packet sending| pausing")), expected);
            expected += "3300 INFO: Resuming packet sending";
            QCOMPARE(bench.told.calls.filter(QRegularExpression("^sent(999|1000)\\(")),
                     QStringList({"sent999(8) 2000", "sent1000(8) 3302"}).first(answered - 499));
            bench.worker.stopTest();
            bench.take();
            bench.step("sendNextPacket"); // no run, nothing to send or to resume
            bench.step("checkTimeouts");
            QCOMPARE(bench.take(), QStringList());
        }
    }

    void reportsSomePingsAndGivesUpLateOnes()
    {
        Bench bench;
        bench.connectIt();
        bench.timed = true;
        bench.answerAfter([](quint64 id) { return id % 3 == 1 ? 3 : 0; });
        bench.start({1000, 10, 10, 100, 0});
        bench.time->pass(450);
        QCOMPARE(bench.take().filter(QRegularExpression("acket \\d")), expected("some pings"));
        QCOMPARE(bench.told.calls.filter(QRegularExpression("expired9[89]")),
                 (QStringList{"expired98 200", "expired99 300"}));
    }

    void writesTheModulesScreen()
    {
        Bench bench;
        bench.connectIt();
        bench.answerAfter([](quint64 id) { return id == 1 ? 0 : 14; });
        bench.start({.packetsPerSecond = 1, .timeoutMs = 50});
        bench.time->pass(4001);
        QCOMPARE(bench.take().filter(","), expected("its screen"));
        bench.worker.disconnectPort();
        for (const QTimer* timer : bench.worker.findChildren<QTimer*>())
            QVERIFY(!timer->isActive());
    }

    void fillsTheColumnsOfAnEvent()
    {
        QStringList rows = expected("events");
        QCOMPARE(eventHeader(), rows.takeFirst() + '\n');
        const QDateTime time(QDate(2027, 1, 2), QTime(18, 3, 9, 42));
        for (const QString& row : rows.replaceInStrings("\\n", "\n").replaceInStrings("\\r", "\r"))
            QCOMPARE(eventRow(time, row.section('|', 0, 0), row.section('|', 1, 1)),
                     "2027-01-02 18:03:09.042," + row.section('|', 2) + '\n');
    }
};

QTEST_GUILESS_MAIN(EngineTest)
#include "engine_test.moc"
