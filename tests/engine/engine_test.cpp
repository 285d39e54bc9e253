#include "engine/EventRow.h"
#include "engine/metaTypes.h"
#include "link/vnPacketComs.h"
#include "tests/engine/EngineBench.h"
#include "tests/engine/timers.h"
#include "tests/support/processes.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <array>

namespace {

using Bench = EngineBench;

QByteArray echo(const QByteArray& payload)
{
    return frame(0x40, payload);
}

/** As a module has it that answers no ping. */
int never(quint64 /*id*/)
{
    return 0;
}

} // namespace

class EngineTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        registerEngineTypes();
        for (const char* name : {"TestStats", "TestConfig", "portInfo", "QList<portInfo>"})
            QVERIFY2(QMetaType::fromName(name).isValid(), name);
    }

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
        QCOMPARE(runningTimers(bench.worker), QStringList());
    }

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
        bench.worker.connectToPort(port, 9600);
        bench.time->meanwhile = [] {};
        QCOMPARE(earlyBytes, 0);
        QCOMPARE(bench.line.take(4), frame(6));
        QCOMPARE(runningTimers(bench.worker), QStringList{"1000"});
        bench.worker.connectToPort(port, 9600);
        bench.worker.startTest({.timeoutMs = 50});
        bench.worker.startTest({.timeoutMs = 5000});
        bench.port().closePort(); // behind the engine's back
        bench.worker.disconnectPort();
        QCOMPARE(runningTimers(bench.worker), QStringList());
        bench.worker.connectToPort(port, 9600);
        bench.port().openPort(port, 9600);
        bench.worker.disconnectPort();
        bench.worker.disconnectPort();
        QCOMPARE(bench.take(),
                 (QStringList{
                     "0 error: Cannot start test: Not connected to a port",
                     "0 INFO: Attempting to connect to " + port + " at 9600 baud...",
                     "0 connected",
                     "0 SUCCESS: Connected to " + port + " at 9600 baud",
                     "100 WARNING: Already connected. Disconnect first.",
                     "100 INFO: Test started",
                     "100 WARNING: Test already running",
                     "100 INFO: Waiting for final replies...",
                     "700 statistics 0/0/0 0.0% 0 999999..0 0",
                     "700 INFO: Test stopped. Sent: 0, Received: 0, Lost: 0, Success: 0.0%",
                     "700 completed",
                     "700 error: Failed to disconnect from port",
                     "700 WARNING: Already connected. Disconnect first.",
                     "700 disconnected",
                     "700 INFO: Disconnected from port",
                 }));
    }

    void listsPorts()
    {
        Bench bench;
        bench.worker.refreshPorts();
        const QList<portInfo> ports = vnPortEnumerator().enumeratePorts();
        QStringList expected{"INFO: Refreshing port list...",
                             QStringLiteral("INFO: Found %1 ports").arg(ports.size())};
        for (const portInfo& port : ports)
            expected += "INFO: Port: " + port.portName + " - " + port.description;
        QCOMPARE(bench.take(), expected << QStringLiteral("ports %1").arg(ports.size()));
    }

    void doesNothingUninvited()
    {
        const auto stepsOn = [](Bench& bench) {
            for (const char* slot :
                 {"sendNextPacket", "checkTimeouts", "pollForPackets", "updateLCDDisplay"})
                bench.step(slot);
        };
        Bench bench; // without a connection
        bench.port().openPort(bench.line.path(), 115200);
        bench.line.send(frame(0x81));
        stepsOn(bench);
        QCOMPARE(bench.line.take(0) + bench.take().join(""), QByteArray());

        bench.connectIt(); // connected, after a run that ended in a pause
        bench.answerAfter(never);
        bench.start({.packetsPerSecond = 1000, .timeoutMs = 5000});
        bench.time->pass(1001);
        bench.worker.stopTest();
        bench.time->meanwhile = [] {};
        bench.take();
        bench.line.send(frame(0x82));
        stepsOn(bench);
        QCOMPARE(bench.take(), QStringList{"INFO: Device report: 0x82"});
        QCOMPARE(bench.line.take(0).mid(2, 2), QByteArray(2, '\0')); // the clock, no ping
    }

    void leaksNothingInManyConnections()
    {
        auto before = processUse();
        for (int i = 0; i <= 10; ++i) {
            if (i == 1) // what stays open once and for all is
                before = processUse();
            Bench bench;
            for (int times = 0; times < 5; ++times) {
                bench.connectIt();
                bench.worker.refreshPorts();
                bench.worker.disconnectPort();
                bench.worker.connectToPort("/dev/null", 9600); // opens, and is no terminal
            }
        }
        QCOMPARE(processUse(), before);
    }

    void endsARunAndAConnectionWithItsLife()
    {
        Bench bench(8, 50);
        bench.ping();
        bench.held.reset();
        QCOMPARE(bench.take().last(6),
                 (QStringList{"TIMEOUT: Packet 0 lost (final timeout)",
                              "statistics 1/0/1 0.0% 0 999999..0 0",
                              "INFO: Test stopped. Sent: 1, Received: 0, Lost: 1, Success: 0.0%",
                              "completed", "disconnected", "INFO: Disconnected from port"}));
    }

    void usesTheWindowsTimersByItself()
    {
        QObject parent;
        auto* worker = new BraskTestWorker(&parent);
        const RawLine line;
        worker->connectToPort(line.path(), 115200);
        worker->startTest({.packetsPerSecond = 7, .timeoutMs = 50, .durationSec = 3});
        QCOMPARE(runningTimers(parent),
                 (QStringList{"1000", "142 precise", "100 precise", "10 precise", "100 precise",
                              "3000 precise once"}));
        worker->stopTest();
        QCOMPARE(runningTimers(parent), QStringList{"1000"});
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(worker->findChildren<QTimer*>().size(), 1);
    }

    void servesAnInstrument()
    {
        Bench bench(Bench::Instrument);
        bench.worker.connectToPort(bench.line.path(), 115200);
        QCOMPARE(bench.line.take(0), QByteArray());
        QCOMPARE(runningTimers(bench.worker), QStringList());
        bench.time->due = 4711;
        bench.start({.minDataSize = 124, .maxDataSize = 124, .timeoutMs = 5000});
        QVERIFY(bench.time->descriptor > 0);
        QCOMPARE(bench.time->descriptor, bench.port().descriptor());
        QByteArray echoes;
        for (int i = 0; i < 30; ++i)
            echoes += echo(bench.ping());
        QCOMPARE(bench.told.lastSent.dueNs, 4711);
        QVERIFY(!bench.time->look());
        bench.line.send(echoes.chopped(1)); // three times what the receive ring takes
        while (bench.time->look()) {
        }
        QCOMPARE(bench.told.calls.filter("matched").size(), 29);
        bench.line.send(echoes.right(1));
        QVERIFY(bench.time->look());
        bench.worker.stopTest();
        QCOMPARE(bench.time->wasOver, (QList<bool>{true, true}));
        bench.start({.timeoutMs = 50});
        bench.ping();
        bench.worker.stopTest();
        QCOMPARE(bench.time->wasOver, (QList<bool>{false, false}));
    }

    void toldMomentsAreThoseOfTheLine()
    {
        Bench bench(8, 5000);
        bench.time->tickNs = 1000;
        const QByteArray first = bench.ping();
        const PingObserver::Sent sent = bench.told.lastSent;
        QVERIFY(sent.startNs == bench.port().lastWriteNs() && sent.dueNs == -1);
        bench.answer(echo(first));
        QCOMPARE(bench.told.lastEcho.readNs, bench.port().lastReadNs());
        QCOMPARE(bench.told.lastEcho.roundTripNs, bench.port().lastReadNs() - sent.startNs);
        for (const QByteArray& frame :
             {echo(first), echo("short"), frame(0x80), frame(0xC0), frame(0x05)}) {
            bench.answer(frame);
            QCOMPARE(bench.told.lastNs, bench.port().lastReadNs());
        }
    }

    void drawsPayloads()
    {
        Bench bench;
        bench.connectIt();
        // Sizes asked for, sizes drawn, and about how often the smallest of 1200.
        for (const auto& [minimum, maximum, drawn, smallest] :
             QList<std::tuple<int, int, QSet<qsizetype>, int>>{{0, 5, {8}, 1200},
                                                               {5, 10, {8, 9, 10}, 800},
                                                               {20, 22, {20, 21, 22}, 400},
                                                               {0, 124, {}, 87},
                                                               {124, 124, {124}, 1200}}) {
            bench.start({.minDataSize = minimum, .maxDataSize = maximum, .timeoutMs = 50});
            std::array<QSet<char>, 124> fillers; // by position
            std::array<int, 256> uses{};         // of each filler byte
            QHash<qsizetype, int> sizes;
            for (int i = 0; i < 1200; ++i) {
                bench.step("sendNextPacket");
                const QByteArray sent = bench.line.take(0);
                const QByteArray payload = sent.mid(2, sent.size() - 4);
                QCOMPARE(sent, frame(0, payload));
                ++sizes[payload.size()];
                for (qsizetype at = 8; at < payload.size(); ++at) {
                    fillers[size_t(at)].insert(payload[at]);
                    ++uses[uchar(payload[at])];
                }
                bench.time->skip(51);
                bench.step("checkTimeouts");
            }
            bench.worker.stopTest();
            if (!drawn.isEmpty())
                QCOMPARE(QSet(sizes.keyBegin(), sizes.keyEnd()), drawn);
            else
                QVERIFY(sizes.size() > 110 && sizes.contains(123) && sizes.contains(124));
            QVERIFY(std::abs(sizes[std::max(8, minimum)] - smallest) < 120);
            if (minimum < 124)
                continue;
            for (size_t at = 8; at < 124; ++at)
                QVERIFY2(fillers[at].size() > 200, qPrintable(QString::number(at)));
            // 544 times each, and ten standard deviations
            QVERIFY(*std::min_element(uses.begin(), uses.end()) > 310);
            QVERIFY(*std::max_element(uses.begin(), uses.end()) < 780);
        }
    }

    void numbersAndReportsPings()
    {
        Bench bench(10, 1000);
        QStringList expected;
        for (quint64 id = 0; id <= 300; ++id) {
            const QByteArray payload = bench.ping();
            QCOMPARE(qFromLittleEndian<quint64>(payload.constData()), id);
            bench.time->skip(3);
            bench.answer(echo(payload));
            if (id < 10 || id % 100 == 0)
                expected << QStringLiteral("INFO: Sent packet %1 (10 bytes)").arg(id)
                         << QStringLiteral("SUCCESS: Packet %1: 3ms").arg(id);
        }
        QCOMPARE(bench.take(), expected);
    }

    void tellsOfFailedSends()
    {
        Bench bench(8, 50);
        bench.port().closePort();
        bench.time->skip(7);
        for (int i = 0; i < 12; ++i)
            bench.step("sendNextPacket");
        bench.port().openPort(bench.line.path(), 115200);
        QCOMPARE(bench.ping(), QByteArray("\x0C\0\0\0\0\0\0\0", 8));
        bench.worker.stopTest();
        const QStringList lines = bench.take();
        for (int id = 0; id < 12; ++id)
            QCOMPARE(lines[id], QStringLiteral("ERROR: Failed to send packet %1").arg(id));
        QCOMPARE(lines[13], "TIMEOUT: Packet 12 lost (final timeout)");
        QCOMPARE(bench.stats.packetsSent, quint64{1});
        QCOMPARE(bench.told.calls.first(2).join(", "), "began 0, failed0(8) 7");
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
            {[](auto p) { return echo(p); }, {"SUCCESS: Packet 0: 0ms"}},
            {[](auto p) { return echo(p.chopped(1) + char(~p.back())); }, {"ERROR: Packet 1: Data mismatch! Expected 20 bytes, got 20"}},
            {[](auto p) { return echo(p.left(12)); }, {"ERROR: Packet 2: Data mismatch! Expected 20 bytes, got 12"}},
            {[](auto p) { return echo(p.left(7)); }, {"WARNING: Received reply with insufficient data"}},
            {bare(0x40, QByteArray(8, '\xFF')), {"WARNING: Received reply for unknown sequence ID: 18446744073709551615"}},
            {[](auto p) { return echo(p) + echo(p); }, {"SUCCESS: Packet 5: 0ms", "WARNING: Received reply for unknown sequence ID: 5"}},
            {[](auto p) { return frame(0x46, p) + frame(0x5F, p); }, {}},
            {[](auto p) { return frame(0x85) + echo(p) + frame(0xC0, "\x07"); },
             {"INFO: Device report: 0x85", "SUCCESS: Packet 7: 0ms", "ERROR: Device error response: 0xc0, error code: 7"}},
            {bare(0xC3), {"ERROR: Device error response: 0xc3, error code: 0"}},
            {bare(0xFF, "\xFE\x01"), {"ERROR: Device error response: 0xff, error code: 254"}},
            {bare(0x80), {"INFO: Device report: 0x80"}},
            {bare(0xBF), {"INFO: Device report: 0xbf"}},
            {bare(0x41), {"WARNING: Received unexpected packet with command: 0x41"}},
            {bare(0x7F), {"WARNING: Received unexpected packet with command: 0x7f"}},
            {bare(0x05), {"WARNING: Received unexpected packet with command: 0x05"}},
            {[](auto p) { return echo(p + "x"); }, {"ERROR: Packet 15: Data mismatch! Expected 20 bytes, got 21"}},
            {[](auto p) { return echo(p.left(8)); }, {"ERROR: Packet 16: Data mismatch! Expected 20 bytes, got 8"}},
        };
        // clang-format on
        Bench bench(20, 50);
        for (const auto& [reply, lines] : cases) {
            const QByteArray payload = bench.ping();
            bench.take();
            bench.answer(reply(payload));
            QCOMPARE(bench.take(), lines);
        }
        bench.worker.stopTest();
        const QStringList lines = bench.take();
        QCOMPARE(lines.filter("lost (final timeout)").size(), 10);
        QVERIFY(lines.contains("statistics 17/3/14 17.6% 0 0..0 0"));
    }

    void runsToTheMillisecond()
    {
        Bench bench;
        bench.connectIt();
        bench.timed = true;
        bench.time->pass(10);
        bench.answerAfter([](quint64 id) { return std::array{20, 0, 10, 40}[id]; });
        for (int run = 0; run < 2; ++run) { // the second begins where the first did: at nothing
            bench.time->pass(360);          // 630 ms before the screen is due again
            bench.take();
            const qint64 before = QDateTime::currentMSecsSinceEpoch();
            bench.start({.packetsPerSecond = 4,
                         .minDataSize = 8,
                         .maxDataSize = 8,
                         .timeoutMs = 100,
                         .durationSec = 1});
            const qint64 after = QDateTime::currentMSecsSinceEpoch();
            bench.time->pass(1000);
            const QStringList lines = bench.take();
            QCOMPARE(lines.mid(0, 20), logOfARun().mid(0, 20));
            QCOMPARE(lines.mid(20), logOfARun().mid(20));
            QVERIFY(before <= bench.stats.startTime && bench.stats.startTime <= after);
            QCOMPARE(bench.pingsMs, (QList<int>{250, 500, 750, 1000}));
            bench.time->pass(1640); // nothing is left of it
            QCOMPARE(bench.take(), (QStringList{"2330 0,0 NOW", "2330 0,1 Ready", //
                                                "3330 0,0 NOW", "3330 0,1 Ready"}));
        }
        bench.worker.disconnectPort();
        bench.take();
        bench.time->pass(2500);
        QCOMPARE(bench.take(), QStringList());
        bench.worker.connectToPort(bench.line.path(), 115200);
        bench.take();
        bench.time->pass(2001); // as often as before
        QCOMPARE(bench.take().filter("Ready").size(), 2);
    }

    void pingsAtEveryRate()
    {
        // Pings per second, duration; pings, and ms between them.
        for (const auto& [rate, seconds, pings, intervalMs] : {std::tuple(1, 3, 3, 1000),
                                                               {3, 2, 6, 333},
                                                               {7, 3, 21, 142},
                                                               {10, 1, 10, 100},
                                                               {333, 1, 333, 3},
                                                               {500, 1, 500, 2},
                                                               {501, 1, 1000, 1},
                                                               {600, 1, 1000, 1},
                                                               {1000, 2, 2000, 1}}) {
            Bench bench;
            bench.connectIt();
            bench.answerAfter(never);
            bench.start({.packetsPerSecond = rate, .timeoutMs = 50, .durationSec = seconds});
            bench.time->pass(seconds * 1000 + 100);
            QCOMPARE(bench.pingsMs.size(), pings);
            for (int i = 0; i < pings; ++i)
                QCOMPARE(bench.pingsMs[i], (i + 1) * intervalMs);
            QCOMPARE(bench.take().filter("statistics").size(), seconds * 10 + 1);
            QCOMPARE(bench.stats.packetsSent, quint64(pings));
            QCOMPARE(bench.stats.packetsLost, quint64(pings));
        }
        Bench bench; // until it is stopped
        bench.connectIt();
        bench.start({.packetsPerSecond = 1, .timeoutMs = 50});
        bench.answerAfter(never);
        bench.time->pass(60'500);
        QCOMPARE(bench.take().filter("Test duration reached"), QStringList());
        QCOMPARE(bench.stats.packetsSent, quint64{60});
    }

    void pausesAndResumes()
    {
        Bench bench;
        bench.connectIt();
        bench.answerAfter(never);
        bench.timed = true;
        const auto pauses = [&] {
            return bench.take().filter(QRegularExpression(" packet sending| pausing"));
        };
        for (int run = 0; run < 2; ++run) { // the first ends in its pause
            bench.worker.stopTest();
            bench.start(
                {.packetsPerSecond = 500, .minDataSize = 8, .maxDataSize = 8, .timeoutMs = 5000});
            bench.take();
            bench.time->pass(2100);
            QCOMPARE(pauses(),
                     QStringList{"2002 WARNING: Too many pending packets (1000), pausing send"});
            QCOMPARE(bench.pingsMs.size(), 1000);
        }
        quint64 id = 0;
        const auto answerNext = [&] {
            QByteArray payload(8, '\0');
            qToLittleEndian(id++, payload.data());
            bench.line.send(echo(payload));
        };
        while (id < 500) {
            answerNext();
            if (id % 50 == 0)
                bench.time->pass(10);
        }
        bench.time->pass(150);
        QCOMPARE(pauses(), QStringList());
        answerNext();
        bench.time->pass(200);
        QCOMPARE(pauses(), QStringList{"2400 INFO: Resuming packet sending"});
        QCOMPARE(bench.pingsMs.mid(999, 3), (QList<int>{2000, 2402, 2404}));
        QCOMPARE(bench.stats.packetsSent, quint64{1050});
    }

    void waitsForTheLastEchoes()
    {
        // Time-out, and how long the wait is.
        for (const auto& [timeoutMs, waitMs] : {std::pair(50, 600), {123, 750}, {5000, 10500}}) {
            Bench bench(20, timeoutMs);
            const QByteArray first = bench.ping();
            const QByteArray second = bench.ping();
            bench.ping();
            const QByteArray last = bench.ping();
            bench.take();
            int waitedMs = 0;
            bench.time->meanwhile = [&, wait = waitMs] {
                if (++waitedMs == 40)
                    bench.line.send(echo(first) + echo(second.chopped(1) + char(~second.back())));
                else if (waitedMs == wait)
                    bench.line.send(frame(0xC0) + echo(last));
            };
            bench.worker.stopTest();
            QCOMPARE(waitedMs, waitMs);
            QCOMPARE(
                bench.take(),
                (QStringList{"INFO: Waiting for final replies...", "SUCCESS: Packet 0: 40ms",
                             "ERROR: Packet 1: Data mismatch! Expected 20 bytes, got 20",
                             "ERROR: Device error response: 0xc0, error code: 0",
                             QStringLiteral("SUCCESS: Packet 3: %1ms").arg(waitMs),
                             "TIMEOUT: Packet 2 lost (final timeout)",
                             QStringLiteral("statistics 4/2/2 50.0% %1 40..%2 %3")
                                 .arg((waitMs + 40) / 2)
                                 .arg(waitMs)
                                 .arg(waitMs + 40),
                             "INFO: Test stopped. Sent: 4, Received: 2, Lost: 2, Success: 50.0%",
                             "completed"}));
            bench.answer(echo(last)); // is waited for no more
            bench.worker.stopTest();
            QCOMPARE(bench.take(),
                     QStringList{"WARNING: Received reply for unknown sequence ID: 3"});
        }
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
        bench.time->skip(3'600'000);
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        bench.worker.startTest({.minDataSize = 20, .maxDataSize = 20});
        QCOMPARE(bench.take(), (QStringList{"INFO: Test started",
                                            "WARNING: Received reply for unknown sequence ID: 0",
                                            "INFO: Device report: 0x81"}));
        bench.answer(echo(bench.ping()));
        QCOMPARE(bench.take().value(1), "SUCCESS: Packet 0: 0ms");
        bench.worker.stopTest(); // and tells the time by the wall as it was at the start
        QVERIFY(before <= bench.stats.startTime);
        QVERIFY(bench.stats.startTime <= QDateTime::currentMSecsSinceEpoch());
    }

    void givesUpLatePings()
    {
        for (const int timeoutMs : {50, 5000}) {
            Bench bench(8, timeoutMs);
            QList<QByteArray> payloads;
            for (int i = 0; i < 102; ++i)
                payloads.append(bench.ping());
            bench.answer(echo(payloads.at(3)));
            bench.time->skip(timeoutMs);
            bench.ping();
            bench.take();
            bench.step("checkTimeouts");
            QCOMPARE(bench.take(), QStringList());
            bench.time->skip(1);
            bench.step("checkTimeouts");
            QStringList expected;
            for (const int id : {0, 1, 2, 4, 5, 6, 7, 8, 9, 100})
                expected << QStringLiteral("TIMEOUT: Packet %1 timeout after %2ms")
                                .arg(id)
                                .arg(timeoutMs);
            QCOMPARE(bench.take(), expected);
            bench.step("checkTimeouts");
            bench.answer(echo(payloads.at(11)));
            QCOMPARE(bench.take(),
                     QStringList{"WARNING: Received reply for unknown sequence ID: 11"});
            bench.worker.stopTest(); // one ping is younger
            QVERIFY(bench.take().contains(
                "INFO: Test stopped. Sent: 103, Received: 1, Lost: 102, Success: 1.0%"));
        }
    }

    void writesTheModulesScreen()
    {
        Bench bench;
        bench.connectIt();
        bench.answerAfter([](quint64 id) { return id % 3 == 1 ? 0 : 14; });
        QStringList texts;
        bench.start({.packetsPerSecond = 2, .timeoutMs = 50});
        bench.time->pass(3001);
        for (const QString& line : bench.take()) {
            if (line.contains(','))
                texts += line;
        }
        QCOMPARE(texts, (QStringList{"0,0 NOW", "0,1 Tx:1 Rx:1", "0,2 OK:100% 20ms", //
                                     "0,0 NOW", "0,1 Tx:3 Rx:2", "0,2 OK:67% 20ms", "0,3 Lost:1",
                                     "0,0 NOW", "0,1 Tx:5 Rx:3", "0,2 OK:60% 20ms", "0,3 Lost:2"}));
        bench.worker.stopTest();
        bench.start({.packetsPerSecond = 1, .timeoutMs = 50});
        bench.take();
        bench.time->pass(1000);
        QCOMPARE(bench.take().filter(",1"), QStringList{"0,1 Tx:0 Rx:0"});
    }

    void fillsTheColumnsOfAnEvent()
    {
        QCOMPARE(eventHeader(), "Timestamp,SequenceID,Event,DataSize,Latency(ms),Details\n");
        // Type, message and the row behind its time.
        // clang-format off
        const QList<std::array<const char*, 3>> cases{
            {"INFO", "Test started", ",INFO,,,Test started"},
            {"INFO", "Sent packet 3 (77 bytes)", "3,INFO,77,,Sent packet 3 (77 bytes)"},
            {"SUCCESS", "Packet 18446744073709551615: 12ms", "18446744073709551615,SUCCESS,,12,Packet 18446744073709551615: 12ms"},
            {"SUCCESS", "Packet 4: -3ms", "4,SUCCESS,,-3,Packet 4: -3ms"},
            {"TIMEOUT", "Packet 5 timeout after 500ms", "5,TIMEOUT,,,Packet 5 timeout after 500ms"},
            {"TIMEOUT", "Packet 6 lost (final timeout)", "6,TIMEOUT,,,Packet 6 lost (final timeout)"},
            {"ERROR", "Failed to send packet 17", "17,ERROR,,,Failed to send packet 17"},
            {"WARNING", "Received reply for unknown sequence ID: 8", "8,WARNING,,,Received reply for unknown sequence ID: 8"},
            {"ERROR", "Packet 7: Data mismatch! Expected 20 bytes, got 12", "7,ERROR,20,,\"Packet 7: Data mismatch! Expected 20 bytes, got 12\""},
            {"INFO", "Port: /dev/ttyUSB0 - a \"%1\"", ",INFO,,,\"Port: /dev/ttyUSB0 - a \"\"%1\"\"\""},
            {"INFO", "returned\r", ",INFO,,,\"returned\r\""},
            {"INFO", "Packet 5: 6ms\n", ",INFO,,,\"Packet 5: 6ms\n\""},
            {"INFO", "of Packet 5: 6ms", ",INFO,,,of Packet 5: 6ms"},
            {"a,b", "", ",\"a,b\",,,"},
        };
        // clang-format on
        const QDateTime time(QDate(2027, 1, 2), QTime(18, 3, 9, 42));
        for (const auto& [type, message, row] : cases)
            QCOMPARE(eventRow(time, type, message),
                     QStringLiteral("2027-01-02 18:03:09.042,%1\n").arg(row));
    }

private:
    /** Four pings a second for a second; answered after 20 ms, never, after 10 and 40 ms. */
    static QStringList logOfARun()
    {
        return {
            "0 INFO: Test started",
            "100 statistics 0/0/0 0.0% 0 999999..0 0",
            "200 statistics 0/0/0 0.0% 0 999999..0 0",
            "250 INFO: Sent packet 0 (8 bytes)",
            "270 SUCCESS: Packet 0: 20ms",
            "300 statistics 1/1/0 100.0% 20 20..20 20",
            "400 statistics 1/1/0 100.0% 20 20..20 20",
            "500 INFO: Sent packet 1 (8 bytes)",
            "500 statistics 2/1/0 50.0% 20 20..20 20",
            "600 statistics 2/1/0 50.0% 20 20..20 20", // ping 1 is as old as it may be
            "630 0,0 NOW",
            "630 0,1 Tx:2 Rx:1",
            "630 0,2 OK:50% 20ms",
            "700 TIMEOUT: Packet 1 timeout after 100ms",
            "700 statistics 2/1/1 50.0% 20 20..20 20",
            "750 INFO: Sent packet 2 (8 bytes)",
            "760 SUCCESS: Packet 2: 10ms",
            "800 statistics 3/2/1 66.7% 15 10..20 30",
            "900 statistics 3/2/1 66.7% 15 10..20 30",
            "1000 INFO: Sent packet 3 (8 bytes)",
            "1000 statistics 4/2/1 50.0% 15 10..20 30",
            "1000 INFO: Test duration reached",
            "1000 INFO: Waiting for final replies...",
            "1040 SUCCESS: Packet 3: 40ms",
            "1700 statistics 4/3/1 75.0% 23 10..40 70",
            "1700 INFO: Test stopped. Sent: 4, Received: 3, Lost: 1, Success: 75.0%",
            "1700 completed",
        };
    }
};

QTEST_GUILESS_MAIN(EngineTest)
#include "engine_test.moc"
