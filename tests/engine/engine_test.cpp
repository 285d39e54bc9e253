#include "engine/BraskTestWorker.h"
#include "engine/EventRow.h"
#include "link/vnPacketComs.h"
#include "tests/support/RawLine.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryFile>
#include <QTest>
#include <QtEndian>

#include <utility>

namespace {

/**
 * All that an engine reports, as one sequence of lines: "TYPE: message", "error: ...",
 * "connected", "disconnected", "statistics SENT/RECEIVED/LOST" and "completed".
 */
struct EngineRecord : public QObject
{
    explicit EngineRecord(BraskTestWorker* worker)
    {
        using Worker = BraskTestWorker;
        connect(worker, &Worker::logMessage, this,
                [this](const QString& type, const QString& msg) { lines += type + ": " + msg; });
        connect(worker, &Worker::errorOccurred, this,
                [this](const QString& error) { lines += "error: " + error; });
        connect(worker, &Worker::connectionChanged, this,
                [this](bool connected) { lines += connected ? "connected" : "disconnected"; });
        connect(worker, &Worker::testCompleted, this, [this] { lines += "completed"; });
        connect(worker, &Worker::statisticsUpdated, this, [this](const TestStats& now) {
            stats = now;
            const QString text = QStringLiteral("statistics %1/%2/%3");
            lines += text.arg(now.packetsSent).arg(now.packetsReceived).arg(now.packetsLost);
        });
    }

    /** What came since the last take. */
    QStringList take() { return std::exchange(lines, {}); }

    QStringList lines;
    TestStats stats; ///< the last ones reported
};

/**
 * An engine whose every step the test takes itself: it lives in the test's thread, whose event
 * loop never runs, so no timer of the engine fires.
 */
struct Bench
{
    RawLine line;
    BraskTestWorker worker;
    EngineRecord record{&worker};

    void connectIt()
    {
        worker.connectToPort(line.path(), 115200);
        line.take(4); // the request that blanks the screen
        record.take();
    }

    void start(int minDataSize, int maxDataSize, int timeoutMs)
    {
        worker.startTest({.packetsPerSecond = 1,
                          .minDataSize = minDataSize,
                          .maxDataSize = maxDataSize,
                          .timeoutMs = timeoutMs});
        record.take();
    }

    void step(const char* slot) { QMetaObject::invokeMethod(&worker, slot, Qt::DirectConnection); }

    /** Sends one ping and returns its payload as the module sees it; empty when nothing was sent.
     */
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

    void letPingsAge(int ms) const
    {
        const qint64 end = QDateTime::currentMSecsSinceEpoch() + ms;
        while (QDateTime::currentMSecsSinceEpoch() <= end)
            QTest::qSleep(1);
    }
};

/** Connected, and in a run. */
struct RunningBench : Bench
{
    RunningBench(int minDataSize, int maxDataSize, int timeoutMs)
    {
        connectIt();
        start(minDataSize, maxDataSize, timeoutMs);
    }
};

QByteArray echo(const QByteArray& payload)
{
    return frame(0x40, payload);
}

QByteArray withLastByteChanged(QByteArray payload)
{
    payload.back() = static_cast<char>(payload.back() ^ 1);
    return payload;
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
        QTemporaryFile file;
        QVERIFY(file.open());
        const QList<std::tuple<QString, int, QString>> cases{
            {"", 9600, "No port name specified"},
            {"/nowhere/%1%2", 9600, "Failed to open port - may be in use or doesn't exist"},
            {bench.line.path(), 57600, "Invalid baud rate"},
            {file.fileName(), 9600, "Failed to configure port settings"}};
        for (const auto& [port, rate, reason] : cases) {
            bench.worker.connectToPort(port, rate);
            QCOMPARE(bench.record.take(),
                     (QStringList{"INFO: Attempting to connect to " + port + " at " +
                                      QString::number(rate) + " baud...",
                                  "error: Connection failed: " + reason, "disconnected"}));
        }
        bench.worker.disconnectPort();
        QCOMPARE(bench.record.take(), QStringList());
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
        const QStringList expected{
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
        };
        QCOMPARE(bench.record.take(), expected);
    }

    void drawsPayloadSizes()
    {
        Bench bench;
        bench.connectIt();
        const QList<std::tuple<int, int, QSet<qsizetype>>> cases{
            {124, 124, {124}}, {0, 5, {8}}, {5, 10, {8, 9, 10}}};
        for (const auto& [minimum, maximum, expected] : cases) {
            bench.start(minimum, maximum, 50);
            QSet<qsizetype> sizes;
            for (int i = 0; i < 200; ++i)
                sizes.insert(bench.ping().size());
            QCOMPARE(sizes, expected);
            bench.worker.stopTest();
        }
    }

    void numbersAndReportsPings()
    {
        RunningBench bench(10, 10, 1000);
        QStringList expected;
        for (quint64 id = 0; id <= 300; ++id) {
            const QByteArray payload = bench.ping();
            QCOMPARE(qFromLittleEndian<quint64>(payload.constData()), id);
            bench.answer(echo(payload));
            if (id < 10 || id % 100 == 0)
                expected << QStringLiteral("INFO: Sent packet %1 (10 bytes)").arg(id)
                         << QStringLiteral("SUCCESS: Packet %1: ?ms").arg(id);
        }
        QCOMPARE(withoutLatencies(bench.record.take()), expected);
        bench.worker.stopTest();
        QCOMPARE(bench.record.stats.packetsReceived, quint64{301});
        QVERIFY(bench.record.stats.minLatencyMs <= bench.record.stats.avgLatencyMs);
        QVERIFY(bench.record.stats.avgLatencyMs <= bench.record.stats.maxLatencyMs);

        // A new run begins at 0 again.
        bench.start(10, 10, 50);
        QCOMPARE(qFromLittleEndian<quint64>(bench.ping().constData()), quint64{0});
    }

    void sortsReplies()
    {
        struct Case
        {
            std::function<QByteArray(QByteArray payload)> reply;
            QStringList lines;
            quint64 received = 0;
            quint64 lost = 0;
        };
        const auto bare = [](uint8_t command, const QByteArray& data = {}) {
            return [=](const QByteArray&) { return frame(command, data); };
        };
        // One kind of reply a line.
        // clang-format off
        const QList<Case> cases{
            {[](auto p) { return echo(p); }, {"SUCCESS: Packet 0: ?ms"}, 1},
            {[](auto p) { return echo(withLastByteChanged(p)); }, {"ERROR: Packet 1: Data mismatch! Expected 20 bytes, got 20"}, 0, 1},
            {[](auto p) { return echo(p.left(12)); }, {"ERROR: Packet 2: Data mismatch! Expected 20 bytes, got 12"}, 0, 1},
            {[](auto p) { return echo(p.left(7)); }, {"WARNING: Received reply with insufficient data"}},
            {bare(0x40, QByteArray(8, '\xFF')), {"WARNING: Received reply for unknown sequence ID: 18446744073709551615"}},
            {[](auto p) { return echo(p) + echo(p); }, {"SUCCESS: Packet 5: ?ms", "WARNING: Received reply for unknown sequence ID: 5"}, 1},
            {[](auto p) { return frame(0x46, p) + frame(0x5F, p); }, {}},
            {[](auto p) { return frame(0x85) + echo(p) + frame(0xC0, "\x07"); },
             {"INFO: Device report: 0x85", "SUCCESS: Packet 7: ?ms", "ERROR: Device error response: 0xc0, error code: 7"}, 1},
            {bare(0xC3), {"ERROR: Device error response: 0xc3, error code: 0"}},
            {bare(0xFF, "\xFE\x01"), {"ERROR: Device error response: 0xff, error code: 254"}},
            {bare(0x80), {"INFO: Device report: 0x80"}},
            {bare(0xBF), {"INFO: Device report: 0xbf"}},
            {bare(0x41), {"WARNING: Received unexpected packet with command: 0x41"}},
            {bare(0x05), {"WARNING: Received unexpected packet with command: 0x05"}},
        };
        // clang-format on
        RunningBench bench(20, 20, 50);
        quint64 received = 0;
        quint64 lost = 0;
        for (const Case& c : cases) {
            const QByteArray payload = bench.ping();
            bench.record.take();
            bench.answer(c.reply(payload));
            QCOMPARE(withoutLatencies(bench.record.take()), c.lines);
            received += c.received;
            lost += c.lost;
        }
        bench.worker.stopTest();
        const auto silent = bench.record.take().filter("lost (final timeout)").size();
        QCOMPARE(bench.record.stats.packetsSent, static_cast<quint64>(cases.size()));
        QCOMPARE(bench.record.stats.packetsReceived, received);
        QCOMPARE(bench.record.stats.packetsLost, lost + static_cast<quint64>(silent));
        QCOMPARE(received + bench.record.stats.packetsLost, bench.record.stats.packetsSent);
    }

    void matchesEchoesOfTheFinalWait()
    {
        RunningBench bench(20, 20, 50);
        const QByteArray first = bench.ping();
        const QByteArray second = bench.ping();
        bench.ping();
        bench.record.take();
        bench.line.send(echo(first) + echo(withLastByteChanged(second)) + frame(0xC0));
        bench.worker.stopTest();
        QCOMPARE(bench.record.take(),
                 (QStringList{"INFO: Waiting for final replies...",
                              "ERROR: Packet 1: Data mismatch! Expected 20 bytes, got 20",
                              "ERROR: Device error response: 0xc0, error code: 0",
                              "TIMEOUT: Packet 2 lost (final timeout)", "statistics 3/1/2",
                              "INFO: Test stopped. Sent: 3, Received: 1, Lost: 2, Success: 33.3%",
                              "completed"}));
        QCOMPARE(bench.record.stats.minLatencyMs, TestStats::noLatencyYet);
        QCOMPARE(bench.record.stats.totalLatencyMs, quint64{0});
    }

    void givesUpLatePings()
    {
        RunningBench bench(8, 8, 50);
        QList<QByteArray> payloads;
        for (int i = 0; i < 12; ++i)
            payloads.append(bench.ping());
        bench.answer(echo(payloads.at(3)));
        bench.letPingsAge(51);
        bench.record.take();
        bench.step("checkTimeouts");
        QStringList expected;
        for (const int id : {0, 1, 2, 4, 5, 6, 7, 8, 9})
            expected << QStringLiteral("TIMEOUT: Packet %1 timeout after 50ms").arg(id);
        QCOMPARE(bench.record.take(), expected);
        bench.step("checkTimeouts");
        bench.answer(echo(payloads.at(11)));
        QCOMPARE(bench.record.take(),
                 QStringList{"WARNING: Received reply for unknown sequence ID: 11"});
        bench.worker.stopTest();
        QVERIFY(bench.record.take().contains(
            "INFO: Test stopped. Sent: 12, Received: 1, Lost: 11, Success: 8.3%"));
    }

    void pausesAndResumes()
    {
        RunningBench bench(8, 8, 5000);
        QList<QByteArray> payloads;
        for (int i = 0; i < 1000; ++i)
            payloads.append(bench.ping());
        bench.record.take();
        QCOMPARE(bench.ping(), QByteArray());
        QCOMPARE(bench.record.take(),
                 QStringList{"WARNING: Too many pending packets (1000), pausing send"});

        for (int i = 0; i < 500; ++i)
            bench.answer(echo(payloads.at(i)));
        bench.record.take();
        bench.step("checkTimeouts");
        QCOMPARE(bench.record.take(), QStringList());
        bench.answer(echo(payloads.at(501)));
        bench.step("checkTimeouts");
        bench.step("checkTimeouts");
        QCOMPARE(bench.record.take(), QStringList{"INFO: Resuming packet sending"});
        QCOMPARE(qFromLittleEndian<quint64>(bench.ping().constData()), quint64{1000});
    }

    void countsOnlyWhatTheLineTook()
    {
        RunningBench bench(8, 8, 50);
        bench.ping();
        bench.record.take();
        bench.line.hangUp();
        bench.step("sendNextPacket");
        bench.step("sendNextPacket");
        bench.step("pollForPackets");
        bench.worker.disconnectPort();
        QCOMPARE(bench.record.take(),
                 (QStringList{"ERROR: Failed to send packet 1", "ERROR: Failed to send packet 2",
                              "INFO: Waiting for final replies...",
                              "TIMEOUT: Packet 0 lost (final timeout)", "statistics 1/0/1",
                              "INFO: Test stopped. Sent: 1, Received: 0, Lost: 1, Success: 0.0%",
                              "completed", "disconnected", "INFO: Disconnected from port"}));
    }

    void writesTheModulesScreen()
    {
        Bench bench;
        bench.step("updateLCDDisplay");
        bench.connectIt();
        QCOMPARE(screenTexts(bench), (QStringList{"DATE", "0,1 Ready"}));
        bench.start(8, 8, 50);
        QCOMPARE(screenTexts(bench), (QStringList{"DATE", "0,1 Tx:0 Rx:0"}));
        bench.answer(echo(bench.ping()));
        QCOMPARE(screenTexts(bench), (QStringList{"DATE", "0,1 Tx:1 Rx:1", "0,2 OK:100% ?ms"}));
        bench.ping();
        bench.letPingsAge(51);
        bench.step("checkTimeouts");
        QCOMPARE(screenTexts(bench),
                 (QStringList{"DATE", "0,1 Tx:2 Rx:1", "0,2 OK:50% ?ms", "0,3 Lost:1"}));
        bench.worker.stopTest();
        QCOMPARE(screenTexts(bench), (QStringList{"DATE", "0,1 Ready"}));
    }

    void fillsTheColumnsOfAnEvent_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("row"); // behind the time
        const auto add = [](const char* type, const char* message, const char* row) {
            QTest::newRow(message) << type << message << row;
        };
        add("INFO", "Test started", ",INFO,,,Test started");
        add("INFO", "Sent packet 3 (77 bytes)", "3,INFO,77,,Sent packet 3 (77 bytes)");
        add("SUCCESS", "Packet 18446744073709551615: 12ms",
            "18446744073709551615,SUCCESS,,12,Packet 18446744073709551615: 12ms");
        add("SUCCESS", "Packet 4: -3ms", "4,SUCCESS,,-3,Packet 4: -3ms");
        add("ERROR", "Failed to send packet 10", "10,ERROR,,,Failed to send packet 10");
        add("TIMEOUT", "Packet 5 timeout after 500ms", "5,TIMEOUT,,,Packet 5 timeout after 500ms");
        add("TIMEOUT", "Packet 6 lost (final timeout)",
            "6,TIMEOUT,,,Packet 6 lost (final timeout)");
        add("ERROR", "Packet 7: Data mismatch! Expected 20 bytes, got 12",
            "7,ERROR,20,,\"Packet 7: Data mismatch! Expected 20 bytes, got 12\"");
        add("WARNING", "Received reply for unknown sequence ID: 8",
            "8,WARNING,,,Received reply for unknown sequence ID: 8");
        add("INFO", "Test stopped. Sent: 4, Received: 3, Lost: 1, Success: 75.0%",
            ",INFO,,,\"Test stopped. Sent: 4, Received: 3, Lost: 1, Success: 75.0%\"");
        add("INFO", "Port: /dev/ttyUSB0 - a \"%1\"",
            ",INFO,,,\"Port: /dev/ttyUSB0 - a \"\"%1\"\"\"");
        add("INFO", "two\nlines", ",INFO,,,\"two\nlines\"");
        add("INFO", "returned\r", ",INFO,,,\"returned\r\"");
        add("INFO", "Packet 5: 6ms\n", ",INFO,,,\"Packet 5: 6ms\n\"");
        add("a,b", "", ",\"a,b\",,,");
    }

    void fillsTheColumnsOfAnEvent()
    {
        QFETCH(QString, type);
        QFETCH(QString, message);
        QFETCH(QString, row);
        const QDateTime time(QDate(2027, 1, 2), QTime(8, 3, 9, 42));
        QCOMPARE(eventRow(time, type, message), "2027-01-02 08:03:09.042," + row + "\n");
    }

private:
    /** The "column,row text" of each request of one refresh; the clock's row reads "DATE". */
    static QStringList screenTexts(Bench& bench)
    {
        static const QRegularExpression clock("^0,0 \\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d$");
        bench.step("updateLCDDisplay");
        QByteArray bytes = bench.line.take(0);
        QStringList texts;
        while (!bytes.isEmpty()) {
            const auto length = static_cast<uint8_t>(bytes.at(1));
            const QByteArray data = bytes.mid(2, length);
            if (bytes.left(length + 4) != frame(31, data))
                return {"not a text request: " + bytes.toHex()};
            texts += QStringLiteral("%1,%2 %3")
                         .arg(int{data.at(0)})
                         .arg(int{data.at(1)})
                         .arg(QString::fromLocal8Bit(data.mid(2)));
            bytes.remove(0, length + 4);
        }
        return withoutLatencies(texts).replaceInStrings(clock, "DATE");
    }
};

QTEST_GUILESS_MAIN(EngineTest)
#include "engine_test.moc"
