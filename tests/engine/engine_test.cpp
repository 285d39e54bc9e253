#include "engine/BraskTestWorker.h"
#include "engine/EventRow.h"
#include "engine/ExactTiming.h"
#include "engine/PingSchedule.h"
#include "link/vnPacketComs.h"
#include "simulator/RequestParser.h"
#include "tests/support/HandTiming.h"
#include "tests/support/RawLine.h"
#include "tests/support/processes.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QtEndian>

#include <utility>

namespace {

/** What the engine tells an observer, a word a call; moments in ms since the run's begin. */
struct Told : PingObserver
{
    QStringList calls;
    qint64 startNs = 0;

    void tell(const QString& what, qint64 atNs)
    {
        calls += QStringLiteral("%1 %2").arg(what).arg((atNs - startNs) / 1'000'000);
    }
    void runBegan(qint64 atNs) override
    {
        startNs = atNs;
        tell("began", atNs);
    }
    void pingSent(const Sent& ping) override
    {
        tell(QStringLiteral("sent%1(%2)").arg(ping.id).arg(ping.sizeBytes), ping.startNs);
    }
    void sendFailed(quint64 id, int size, qint64 atNs) override
    {
        tell(QStringLiteral("failed%1(%2)").arg(id).arg(size), atNs);
    }
    void echoMatched(const Echo& echo) override { tellEcho("matched", echo); }
    void echoChanged(const Echo& echo) override { tellEcho("changed", echo); }
    void tellEcho(const QString& what, const Echo& echo)
    {
        const qint64 tripMs = echo.roundTripNs / 1'000'000;
        tell(QStringLiteral("%1%2(%3%4)")
                 .arg(what)
                 .arg(echo.id)
                 .arg(tripMs)
                 .arg(echo.afterEnd ? " afterwards" : ""),
             echo.readNs);
    }
    void pingGivenUp(quint64 id, qint64 atNs, bool atEnd) override
    {
        tell(QStringLiteral("%1%2").arg(atEnd ? "lost" : "expired").arg(id), atNs);
    }
    void otherArrived(Other what, quint64 id, qint64 atNs) override
    {
        const char* names[] = {"late", "unknown", "short", "report", "packet"};
        tell(QStringLiteral("%1%2").arg(names[int(what)]).arg(id), atNs);
    }
    void errorReplied(int code, qint64 atNs) override
    {
        tell(QStringLiteral("error%1").arg(code), atNs);
    }
    void sendingEnded(qint64 atNs) override { tell("stopped", atNs); }
    void runEnded(qint64 atNs) override { tell("ended", atNs); }
};

/** An engine whose every step the test takes itself, or lets happen by letting time pass. */
struct Bench
{
    HandTiming* time = new HandTiming; ///< the engine's
    /** What the engine reports: "TYPE: message", "error: ..." and the other signals by name. */
    QStringList lines;
    TestStats stats; ///< the last ones reported
    RawLine line;
    Told told;
    BraskTestWorker worker;

    Bench() : worker({std::unique_ptr<EngineTiming>(time), &told})
    {
        using W = BraskTestWorker;
        const auto on = [this](auto signal, auto text) {
            QObject::connect(&worker, signal, &worker,
                             [this, text](const auto&... what) { lines += text(what...); });
        };
        using Text = const QString&;
        on(&W::logMessage, [](Text type, Text message) { return type + ": " + message; });
        on(&W::errorOccurred, [](Text error) { return "error: " + error; });
        on(&W::connectionChanged, [](bool is) { return is ? "connected" : "disconnected"; });
        on(&W::testCompleted, [] { return "completed"; });
        on(&W::portsEnumerated, [](const auto&) { return "ports"; });
        on(&W::statisticsUpdated, [this](const TestStats& now) {
            stats = now;
            const QString text = QStringLiteral("statistics %1/%2/%3");
            return text.arg(now.packetsSent).arg(now.packetsReceived).arg(now.packetsLost);
        });
    }

    /** Connected, and in a run of pings of `size` bytes. */
    Bench(int size, int timeoutMs) : Bench()
    {
        connectIt();
        start({.minDataSize = size, .maxDataSize = size, .timeoutMs = timeoutMs});
    }

    /** What came since the last take. */
    QStringList take() { return std::exchange(lines, {}); }

    void connectIt()
    {
        worker.connectToPort(line.path(), 115200);
        line.take(4); // the request that blanks the screen
        take();
    }

    void start(const TestConfig& config)
    {
        worker.startTest(config);
        take();
    }

    void step(const char* slot) { QMetaObject::invokeMethod(&worker, slot, Qt::DirectConnection); }

    /** Sends one ping; its payload as the module sees it, empty when nothing was sent. */
    QByteArray ping()
    {
        step("sendNextPacket");
        const QByteArray bytes = line.take(0);
        return bytes.mid(2, bytes.size() - qsizetype{vnFrameOverhead});
    }

    void answer(const QByteArray& frames)
    {
        line.send(frames);
        step("pollForPackets");
    }
};

QByteArray echo(const QByteArray& payload)
{
    return frame(0x40, payload);
}

/** Latencies depend on the machine, so they read "?ms" here. */
QStringList withoutLatencies(QStringList lines)
{
    return lines.replaceInStrings(QRegularExpression("(Packet \\d+: |% )\\d+ms$"), "\\1?ms");
}

} // namespace

class EngineTest : public QObject
{
    Q_OBJECT

private slots:
    void refusesConnections()
    {
        Bench bench;
        for (const auto& [port, rate, reason] : QList<std::tuple<QString, int, QString>>{
                 {"", 0, "No port name specified"},
                 {bench.line.path(), 0, "Invalid baud rate"},
                 {"/nowhere/%1%2", 9600, "Failed to open port - may be in use or doesn't exist"},
                 {bench.line.path(), 57600, "Invalid baud rate"},
                 {bench.line.path(), -9600, "Invalid baud rate"},
                 {"/dev/null", 9600, "Failed to configure port settings"}}) {
            bench.worker.connectToPort(port, rate);
            QCOMPARE(bench.take(),
                     (QStringList{"INFO: Attempting to connect to " + port + " at " +
                                      QString::number(rate) + " baud...",
                                  "error: Connection failed: " + reason, "disconnected"}));
        }
        bench.worker.disconnectPort();
        QCOMPARE(bench.take(), QStringList());
    }

    void reportsALifeInOrder()
    {
        Bench bench;
        const QString port = bench.line.path();
        bench.worker.startTest({});
        bench.worker.stopTest();
        bench.worker.connectToPort(port, 9600);
        QCOMPARE(bench.line.take(4), frame(6));
        bench.worker.connectToPort(port, 9600);
        bench.worker.startTest({.timeoutMs = 50});
        bench.worker.startTest({.timeoutMs = 5000});
        bench.worker.disconnectPort();
        bench.worker.disconnectPort();
        QCOMPARE(bench.take(),
                 (QStringList{
                     "error: Cannot start test: Not connected to a port",
                     "INFO: Attempting to connect to " + port + " at 9600 baud...",
                     "connected",
                     "SUCCESS: Connected to " + port + " at 9600 baud",
                     "WARNING: Already connected. Disconnect first.",
                     "INFO: Test started",
                     "WARNING: Test already running",
                     "INFO: Waiting for final replies...",
                     "statistics 0/0/0",
                     "INFO: Test stopped. Sent: 0, Received: 0, Lost: 0, Success: 0.0%",
                     "completed",
                     "disconnected",
                     "INFO: Disconnected from port",
                 }));
    }

    void saysEverythingAsOftenAsPromised()
    {
        Bench bench;
        bench.connectIt();
        bench.worker.startTest({.packetsPerSecond = 100, .timeoutMs = 50, .durationSec = 1});
        bench.time->pass(500);
        bench.worker.refreshPorts();
        bench.time->pass(2000);
        bench.worker.stopTest();
        QStringList lines = bench.take(); // each without its figures
        lines.replaceInStrings(QRegularExpression(" \\d.*"), "");
        QCOMPARE(lines.last(3),
                 (QStringList{"statistics", "INFO: Test stopped. Sent:", "completed"}));
        for (const char* once :
             {"INFO: Test started", "INFO: Refreshing port list...", "INFO: Found", "ports",
              "INFO: Test duration reached", "INFO: Waiting for final replies...",
              "INFO: Test stopped. Sent:", "completed"})
            QCOMPARE(lines.count(once), 1);
        QCOMPARE(lines.count("statistics"), 11); // each 100 ms, and at the end
        QVERIFY(!lines.contains("connected") && !lines.contains("disconnected"));
    }

    void leaksNothingInManyConnections()
    {
        Bench bench;
        auto before = processUse();
        for (int i = 0; i <= 200; ++i) {
            bench.connectIt();
            bench.worker.refreshPorts();
            bench.worker.disconnectPort();
            bench.worker.connectToPort("/dev/null", 9600); // opens, and is no terminal
            if (i == 0)                                    // what stays open once and for all
                before = processUse();
        }
        QCOMPARE(processUse(), before);
    }

    void drawsPayloadSizes()
    {
        Bench bench;
        bench.connectIt();
        for (const auto& [minimum, maximum, expected] :
             QList<std::tuple<int, int, QSet<qsizetype>>>{
                 {124, 124, {124}}, {0, 5, {8}}, {5, 10, {8, 9, 10}}}) {
            bench.start({.minDataSize = minimum, .maxDataSize = maximum, .timeoutMs = 50});
            QSet<qsizetype> sizes;
            for (int i = 0; i < 200; ++i)
                sizes.insert(bench.ping().size());
            QCOMPARE(sizes, expected);
            bench.worker.stopTest();
        }
    }

    void numbersAndReportsPings()
    {
        Bench bench(10, 1000);
        QStringList expected;
        for (quint64 id = 0; id <= 300; ++id) {
            const QByteArray payload = bench.ping();
            QCOMPARE(qFromLittleEndian<quint64>(payload.constData()), id);
            bench.answer(echo(payload));
            if (id < 10 || id % 100 == 0)
                expected << QStringLiteral("INFO: Sent packet %1 (10 bytes)").arg(id)
                         << QStringLiteral("SUCCESS: Packet %1: ?ms").arg(id);
        }
        QCOMPARE(withoutLatencies(bench.take()), expected);
        bench.worker.stopTest();
        QCOMPARE(bench.stats.packetsReceived, quint64{301});
        bench.start({}); // and begins at 0 again
        QCOMPARE(qFromLittleEndian<quint64>(bench.ping().constData()), quint64{0});
    }

    void sortsReplies()
    {
        const auto bare = [](uint8_t command, const QByteArray& data = {}) {
            return [=](const QByteArray&) { return frame(command, data); };
        };
        // One kind of reply a line.
        // clang-format off
        using Reply = std::function<QByteArray(QByteArray payload)>;
        const QList<std::pair<Reply, QStringList>> cases{
            {[](auto p) { return echo(p); }, {"SUCCESS: Packet 0: ?ms"}},
            {[](auto p) { return echo(p.chopped(1) + char(~p.back())); }, {"ERROR: Packet 1: Data mismatch! Expected 20 bytes, got 20"}},
            {[](auto p) { return echo(p.left(12)); }, {"ERROR: Packet 2: Data mismatch! Expected 20 bytes, got 12"}},
            {[](auto p) { return echo(p.left(7)); }, {"WARNING: Received reply with insufficient data"}},
            {bare(0x40, QByteArray(8, '\xFF')), {"WARNING: Received reply for unknown sequence ID: 18446744073709551615"}},
            {[](auto p) { return echo(p) + echo(p); }, {"SUCCESS: Packet 5: ?ms", "WARNING: Received reply for unknown sequence ID: 5"}},
            {[](auto p) { return frame(0x46, p) + frame(0x5F, p); }, {}},
            {[](auto p) { return frame(0x85) + echo(p) + frame(0xC0, "\x07"); },
             {"INFO: Device report: 0x85", "SUCCESS: Packet 7: ?ms", "ERROR: Device error response: 0xc0, error code: 7"}},
            {bare(0xC3), {"ERROR: Device error response: 0xc3, error code: 0"}},
            {bare(0xFF, "\xFE\x01"), {"ERROR: Device error response: 0xff, error code: 254"}},
            {bare(0x80), {"INFO: Device report: 0x80"}},
            {bare(0xBF), {"INFO: Device report: 0xbf"}},
            {bare(0x41), {"WARNING: Received unexpected packet with command: 0x41"}},
            {bare(0x05), {"WARNING: Received unexpected packet with command: 0x05"}},
        };
        // clang-format on
        Bench bench(20, 50);
        for (const auto& [reply, lines] : cases) {
            const QByteArray payload = bench.ping();
            bench.take();
            bench.answer(reply(payload));
            QCOMPARE(withoutLatencies(bench.take()), lines);
        }
        bench.worker.stopTest();
        QCOMPARE(bench.take().filter("lost (final timeout)").size(), 9);
        QCOMPARE(bench.stats.packetsReceived, quint64{3});
        QCOMPARE(bench.stats.packetsLost, quint64{11});
    }

    void matchesEchoesOfTheFinalWait()
    {
        Bench bench(20, 50);
        const QByteArray first = bench.ping();
        const QByteArray second = bench.ping();
        bench.ping();
        bench.take();
        bench.line.send(echo(first) + echo(second.chopped(1) + char(~second.back())) + frame(0xC0));
        bench.worker.stopTest();
        QCOMPARE(bench.take(),
                 (QStringList{"INFO: Waiting for final replies...", "SUCCESS: Packet 0: 10ms",
                              "ERROR: Packet 1: Data mismatch! Expected 20 bytes, got 20",
                              "ERROR: Device error response: 0xc0, error code: 0",
                              "TIMEOUT: Packet 2 lost (final timeout)", "statistics 3/1/2",
                              "INFO: Test stopped. Sent: 3, Received: 1, Lost: 2, Success: 33.3%",
                              "completed"}));
        QCOMPARE(bench.stats.avgLatencyMs, 10); // timed like those of the run
    }

    void tellsItsObserver()
    {
        Bench bench(8, 50);
        QList<QByteArray> pings;
        for (int i = 0; i < 6; ++i)
            pings += bench.ping();
        bench.time->skip(1);
        bench.answer(echo(pings[0]).first(5)); // an echo has come when its last byte has
        bench.time->skip(2);
        const QByteArray other("\6\0\0\0\0\0\0\0", 8); // the next ping's number
        bench.answer(echo(pings[0]).sliced(5) + echo(pings[1] + "x") + echo(other) + echo("short"));
        bench.answer(frame(0x80) + frame(0x07) + frame(0xC0) + frame(0xC0, "\x07"));
        bench.time->skip(48);
        bench.step("checkTimeouts");
        bench.answer(echo(pings[2]));
        const QByteArray last = bench.ping();
        bench.ping();
        int waitedMs = 0;
        bench.time->meanwhile = [&] {
            if (++waitedMs == 20)
                bench.line.send(echo(last));
        };
        bench.worker.stopTest();
        QCOMPARE(bench.told.calls.join(", "),
                 "began 0, sent0(8) 0, sent1(8) 0, sent2(8) 0, sent3(8) 0, sent4(8) 0, "
                 "sent5(8) 0, matched0(3) 3, changed1(3) 3, unknown6 3, short0 3, report0 3, "
                 "packet0 3, error0 3, error7 3, expired2 51, expired3 51, expired4 51, "
                 "expired5 51, late2 51, sent6(8) 51, sent7(8) 51, stopped 51, "
                 "matched6(20 afterwards) 71, lost7 651, ended 651");
        bench.told.calls.clear();
        bench.start({.minDataSize = 8, .maxDataSize = 8});
        bench.line.hangUp();
        bench.step("sendNextPacket");
        QCOMPARE(bench.told.calls.join(", "), "began 0, failed0(8) 0");
    }

    void looksAtTheLineDuringTheWholeFinalWait()
    {
        Bench bench(124, 500);
        QByteArray late = echo(bench.ping());
        bench.take();
        int waitedMs = 0;
        bench.time->meanwhile = [&] {
            if (++waitedMs <= 300) // more at once than the receive ring takes
                bench.line.send(waitedMs < 300 ? frame(0x5F, QByteArray(10, 'x')) : late);
        };
        bench.worker.stopTest();
        QCOMPARE(waitedMs, 2 * 500 + 500);
        QCOMPARE(bench.take().value(1), "SUCCESS: Packet 0: 300ms");
    }

    void startsOnACleanLine()
    {
        Bench bench(20, 50);
        const QByteArray owed = bench.ping();
        bench.worker.stopTest();
        QByteArray waiting = echo(owed) + frame(0x81);
        for (int i = 0; i < 600; ++i)
            waiting += frame(0x5F);
        bench.line.send(waiting);
        bench.take();
        bench.worker.startTest({.minDataSize = 20, .maxDataSize = 20});
        QCOMPARE(bench.take(), (QStringList{"INFO: Test started",
                                            "WARNING: Received reply for unknown sequence ID: 0",
                                            "INFO: Device report: 0x81"}));
        bench.answer(echo(bench.ping()));
        QCOMPARE(bench.take().value(1), "SUCCESS: Packet 0: 0ms");
    }

    void givesUpLatePings()
    {
        Bench bench(8, 50);
        QList<QByteArray> payloads;
        for (int i = 0; i < 12; ++i)
            payloads.append(bench.ping());
        bench.answer(echo(payloads.at(3)));
        bench.time->skip(50);
        bench.take();
        bench.step("checkTimeouts");
        QCOMPARE(bench.take(), QStringList());
        bench.time->skip(1);
        bench.step("checkTimeouts");
        QStringList expected;
        for (const int id : {0, 1, 2, 4, 5, 6, 7, 8, 9})
            expected << QStringLiteral("TIMEOUT: Packet %1 timeout after 50ms").arg(id);
        QCOMPARE(bench.take(), expected);
        bench.step("checkTimeouts");
        bench.answer(echo(payloads.at(11)));
        QCOMPARE(bench.take(), QStringList{"WARNING: Received reply for unknown sequence ID: 11"});
        bench.worker.stopTest();
        QVERIFY(bench.take().contains(
            "INFO: Test stopped. Sent: 12, Received: 1, Lost: 11, Success: 8.3%"));
    }

    void pausesAndResumes()
    {
        Bench bench(8, 5000);
        QList<QByteArray> payloads;
        for (int i = 0; i < 1000; ++i)
            payloads.append(bench.ping());
        bench.take();
        QCOMPARE(bench.ping(), QByteArray());
        QCOMPARE(bench.take(),
                 QStringList{"WARNING: Too many pending packets (1000), pausing send"});

        for (int i = 0; i < 500; ++i)
            bench.answer(echo(payloads.at(i)));
        bench.take();
        bench.step("checkTimeouts");
        QCOMPARE(bench.take(), QStringList());
        bench.answer(echo(payloads.at(501)));
        bench.step("checkTimeouts");
        bench.step("checkTimeouts");
        QCOMPARE(bench.take(), QStringList{"INFO: Resuming packet sending"});
        QCOMPARE(qFromLittleEndian<quint64>(bench.ping().constData()), quint64{1000});
    }

    void writesTheModulesScreen()
    {
        Bench bench;
        bench.step("updateLCDDisplay");
        bench.connectIt();
        QCOMPARE(screenTexts(bench), (QStringList{"DATE", "0,1 Ready"}));
        bench.start({.timeoutMs = 50});
        QCOMPARE(screenTexts(bench), (QStringList{"DATE", "0,1 Tx:0 Rx:0"}));
        bench.answer(echo(bench.ping()));
        QCOMPARE(screenTexts(bench), (QStringList{"DATE", "0,1 Tx:1 Rx:1", "0,2 OK:100% ?ms"}));
        bench.ping();
        bench.time->skip(51);
        bench.step("checkTimeouts");
        QCOMPARE(screenTexts(bench),
                 (QStringList{"DATE", "0,1 Tx:2 Rx:1", "0,2 OK:50% ?ms", "0,3 Lost:1"}));
        bench.worker.stopTest();
        QCOMPARE(screenTexts(bench), (QStringList{"DATE", "0,1 Ready"}));
    }

    void fillsTheColumnsOfAnEvent()
    {
        // Type, message and the row behind its time.
        // clang-format off
        const QList<std::array<const char*, 3>> cases{
            {"INFO", "Test started", ",INFO,,,Test started"},
            {"INFO", "Sent packet 3 (77 bytes)", "3,INFO,77,,Sent packet 3 (77 bytes)"},
            {"SUCCESS", "Packet 18446744073709551615: 12ms", "18446744073709551615,SUCCESS,,12,Packet 18446744073709551615: 12ms"},
            {"SUCCESS", "Packet 4: -3ms", "4,SUCCESS,,-3,Packet 4: -3ms"},
            {"TIMEOUT", "Packet 5 timeout after 500ms", "5,TIMEOUT,,,Packet 5 timeout after 500ms"},
            {"ERROR", "Packet 7: Data mismatch! Expected 20 bytes, got 12", "7,ERROR,20,,\"Packet 7: Data mismatch! Expected 20 bytes, got 12\""},
            {"INFO", "Port: /dev/ttyUSB0 - a \"%1\"", ",INFO,,,\"Port: /dev/ttyUSB0 - a \"\"%1\"\"\""},
            {"INFO", "returned\r", ",INFO,,,\"returned\r\""},
            {"INFO", "Packet 5: 6ms\n", ",INFO,,,\"Packet 5: 6ms\n\""},
            {"a,b", "", ",\"a,b\",,,"},
        };
        // clang-format on
        const QDateTime time(QDate(2027, 1, 2), QTime(8, 3, 9, 42));
        for (const auto& [type, message, row] : cases)
            QCOMPARE(eventRow(time, type, message),
                     QStringLiteral("2027-01-02 08:03:09.042,%1\n").arg(row));
    }

private:
    /** The "column,row text" of each request of one refresh; the clock's row reads "DATE". */
    static QStringList screenTexts(Bench& bench)
    {
        static const QRegularExpression clock("^0,0 \\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d$");
        bench.step("updateLCDDisplay");
        RequestParser parser;
        parser.feed(bench.line.take(0));
        QStringList texts;
        while (const auto request = parser.next(RequestParser::Line::Quiet)) {
            const QByteArray& data = request->data;
            texts += QStringLiteral("%1,%2 ").arg(int{data[0]}).arg(int{data[1]}) + data.mid(2);
            if (request->command != 31)
                return {"no request to write text"};
        }
        texts.replaceInStrings(clock, "DATE");
        return withoutLatencies(texts);
    }
};

QTEST_GUILESS_MAIN(EngineTest)
#include "engine_test.moc"
