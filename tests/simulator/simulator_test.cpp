#include "simulator/PingLedger.h"
#include "simulator/RequestParser.h"
#include "simulator/line/DelayedAnswers.h"
#include "simulator/line/RateGate.h"
#include "simulator/moduleAnswers.h"
#include "tests/support/ModuleThread.h"
#include "tests/support/RawLine.h"
#include "tests/support/frame.h"

#include <QtTest>

#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

using Bytes = const QByteArray&;

/** What a tool has open while it talks to a module. */
class Tool
{
public:
    explicit Tool(const QString& path) { line.fd = ::open(qPrintable(path), O_RDWR | O_NOCTTY); }
    ~Tool() { ::close(line.fd); }
    Q_DISABLE_COPY(Tool)

    bool send(Bytes b) { return ::write(line.fd, b.data(), size_t(b.size())) == b.size(); }
    /** What comes in front of `ending`. */
    QByteArray upTo(Bytes ending)
    {
        QByteArray bytes;
        const QDeadlineTimer deadline(5000);
        for (std::array<char, 4096> some{}; !bytes.endsWith(ending);) {
            if (::poll(&line, 1, 10) == 1)
                bytes.append(some.data(), ::read(line.fd, some.data(), some.size()));
            if (deadline.hasExpired())
                return bytes + " and then nothing";
        }
        return bytes.chopped(ending.size());
    }
    /** What a request is answered with: all in front of the answer to an unknown one behind it. */
    QByteArray answerTo(Bytes b) { return send(b + frame(0x3E)) ? upTo(frame(0xFE, "\x02")) : "!"; }

private:
    pollfd line{.fd = -1, .events = POLLIN, .revents = 0};
};

constexpr auto pingData = [](int n) { return QByteArray::number(1000 + n).repeated(6); };

using F = ModuleFaults;
using C = ModuleCounts;

constexpr auto bits = [](Bytes b) { return QBitArray::fromBits(b.data(), b.size() * 8); };
/** A fault's setting and count, and whether bytes in place of an echo are what the fault makes. */
using Fault = std::tuple<double F::*, quint64 C::*, bool (*)(Bytes bytes, Bytes echo)>;
constexpr std::array<Fault, 8> faultTable{{
    {&F::drop, &C::dropped, [](Bytes b, Bytes) { return b.isEmpty(); }},
    {&F::corrupt, &C::corrupted,
     [](Bytes b, Bytes e) { return (bits(b) ^ bits(e)).count(true) == 1; }},
    {&F::alter, &C::altered, // but not the bytes that tell pings apart
     [](Bytes b, Bytes e) { return b == frame(0x40, b.mid(2, 24)) && b.startsWith(e.first(9)); }},
    {&F::truncate, &C::truncated,
     [](Bytes b, Bytes e) { return b == frame(0x40, e.mid(2, b.size() - 4)); }},
    {&F::duplicate, &C::duplicated, [](Bytes b, Bytes e) { return b == e + e; }},
    {&F::garbage, &C::garbage, [](Bytes b, Bytes e) { return b.endsWith(e); }},
    {&F::report, &C::reports,
     [](Bytes b, Bytes e) { return b == frame(0x80 | (*b.data() & 0x3F), b.mid(2, 1)) + e; }},
    {&F::errorReply, &C::errorReplies, [](Bytes b, Bytes) { return b == frame(0xC0, "\x01"); }},
}};

} // namespace

class SimulatorTest : public QObject
{
    Q_OBJECT

private slots:
    void answers()
    {
        ModuleThread module;
        Tool tool(module.path());
        for (const auto& [request, answer] : QList<std::array<const char*, 2>>{
                 {"0000470f 000341424359b3", "40002149 40034142437b72"}, // pings
                 {"06017802f6 1f030000418b67", "4600f11d 5f00785f"},     // clear and write
                 {"1f01004610 3f0161f261", "df01034728 ff0102f53a"}, // write without a row, unknown
                 {"40034142437b72 80010171c2 000341424359b4", ""},   // no requests, wrong CRC
                 {"00ff 0000470f", "40002149"},                      // behind a wrong length
                 {"007c 000341424359b3", "40034142437b72"},          // behind a frame cut short
             }) {
            const QByteArray bytes = QByteArray::fromHex(request);
            for (qsizetype cut = 0; cut < bytes.size(); ++cut) {
                QVERIFY(tool.send(bytes.first(cut)));
                module.counts(); // lets the module look at the first piece
                QCOMPARE(tool.answerTo(bytes.mid(cut)), QByteArray::fromHex(answer));
            }
        }
        RequestParser parser; // by itself: a module looks into an unfinished payload after a pause
        parser.feed(frame(0, frame(6)).chopped(1));
        QVERIFY(!parser.next(RequestParser::Line::Busy));
    }

    void countsWhatArrives()
    {
        constexpr int pings = 60;
        for (const auto& [setting, count, isSeen] : faultTable) {
            const auto run = [probability = setting] {
                ModuleFaults faults{.seed = 7};
                faults.*probability = 0.5;
                ModuleThread module(faults);
                Tool tool(module.path());
                QByteArrayList answers;
                for (int i = 0; i < pings; ++i)
                    answers += tool.answerTo(frame(0x40) + frame(0, pingData(i)));
                return std::tuple(answers, module.counts(), module.takePings());
            };
            const auto [answers, counts, records] = run();
            ModuleCounts seen{
                .pingsReceived = pings, .otherRequests = pings, .packetsIgnored = pings};
            for (int i = 0; i < pings; ++i) {
                const QByteArray echo = frame(0x40, pingData(i));
                const QByteArray& got = answers[i];
                QVERIFY2(got == echo || isSeen(got, echo), got.toHex().constData());
                seen.*count += got != echo;
                seen.echoesIntact += got.endsWith(echo);
                seen.echoesDamaged += !got.isEmpty() && !got.endsWith(echo);
                const LedgerEntry& record = records.at(size_t(i));
                QCOMPARE(record.number, qFromLittleEndian<quint64>(pingData(i).constData()));
                QVERIFY(record.what.*count == (got != echo) && record.closedNs > 0);
                QCOMPARE(record.fate() == "intact", got.endsWith(echo));
            }
            for (const ModuleCountField& field : moduleCountFields)
                QVERIFY2(counts.*field.value == seen.*field.value, field.name);
            QVERIFY(counts.*count > pings / 4 && counts.*count < pings * 3 / 4);
            QCOMPARE(std::get<0>(run()), answers);
        }
    }

    /** The sequence that the document promises for every machine; it was written down once. */
    void decidesAlikeEverywhere()
    {
        ModuleFaults faults{.seed = 3, .drop = 0.1, .delayMs = 3, .jitterMs = 40};
        FaultPlan drops(faults);
        for (const auto& [probability, count, isSeen] : faultTable)
            faults.*probability += 0.3;
        faults.split = 0.7;
        FaultPlan plan(faults);
        QCryptographicHash sum(QCryptographicHash::Sha1);
        for (int i = 0; i < 500; ++i) {
            const PingDecisions decisions = plan.next();
            QVERIFY(!drops.next().drop || decisions.drop);
            sum.addData(QByteArray::number(decisions.delayUs) + (decisions.drop ? "d" : ""));
            const QByteArray data(i % 125, static_cast<char>(i));
            for (const AnswerPiece& piece : moduleAnswers::echo(1, data, decisions).pieces)
                sum.addData(piece.bytes + QByteArray::number(piece.pauseBeforeMs) +
                            (piece.isLast ? "." : ",") + QByteArray::number(*piece.ping));
        }
        QCOMPARE(sum.result().toHex(), QByteArray("34040d8f9c8dc0d87ed9c3d71af4f78b9e5c74d9"));
    }

    void keepsTheScreenAndNamesFates()
    {
        ModuleScreen screen;
        screen.write(0, 0, "12345678901234567890x");
        screen.write(19, 3, "xy");
        screen.write(1, 1, "\xE9");
        for (const auto& [column, row] : {std::pair(20, 0), {-1, 0}, {0, 4}, {0, -1}})
            screen.write(column, row, "!");
        const QString shown = QString("12345678901234567890 \u00E9").leftJustified(79) + 'x';
        QCOMPARE(screen.rows().join(""), shown);
        screen.clear();
        QCOMPARE(screen.rows().join("").trimmed(), "");

        LedgerEntry ping;
        QCOMPARE(ping.fate() + ping.extras(), "unanswered");
        for (const ModuleCountField& field : moduleCountFields)
            ping.what.*field.value = 1;
        QCOMPARE(ping.fate(),
                 "intact+errorReply+truncated+altered+corrupted+dropped+tooFast+overrun");
        QCOMPARE(ping.extras(), "garbage+report+split+duplicated");

        QList<quint64> handedOver;
        PingLedger ledger([&](const LedgerEntry& entry) { handedOver += entry.arrival; });
        for (const quint64 arrival : {1U, 2U, 3U})
            ledger.open(arrival, "");
        ledger.add(2, {}, true); // at once
        ledger.close();
        QCOMPARE(handedOver, (QList<quint64>{2, 1, 3}));
    }

    /** Twice, as a line that idles must not save up time. */
    void takesItsTime()
    {
        const std::clock_t before = std::clock(); // of the processor
        for (const auto& [faults, leastMs] :
             {std::pair(ModuleFaults{.baudRate = 1200}, 2 * 28 * 11 * 1000 / 1200),
              {ModuleFaults{.split = 1}, moduleAnswers::splitPauseMs},
              {ModuleFaults{.delayMs = 20}, 20}}) {
            ModuleThread module(faults);
            Tool tool(module.path());
            for (int round = 0; round < 2; ++round) {
                const QDeadlineTimer earliest(leastMs, Qt::PreciseTimer);
                QVERIFY(tool.send(frame(0, pingData(1))));
                QCOMPARE(tool.upTo(frame(0x40, pingData(1))), QByteArray());
                QVERIFY(earliest.hasExpired());
            }
        }
        QVERIFY(std::clock() - before < CLOCKS_PER_SEC / 10); // it slept
    }

    void takesOnlySoMany()
    {
        // Pings a second taken and sent, how many come at a time, and how many of 5 s pass.
        for (const auto& [taken, sent, atATime, passed] : {std::tuple(200, 200, 1, 1000),
                                                           {200, 200, 8, 1000},
                                                           {200, 201, 1, 1005},
                                                           {200, 204, 1, 1008},
                                                           {100, 1000, 1, 504},
                                                           {1, 3, 1, 5},
                                                           {0, 1000, 100, 5000}}) {
            RateGate gate(taken);
            int passes = 0;
            for (qint64 ping = 0; ping < qint64{5} * sent; ++ping)
                passes += gate.passes(qint64(1e9) * (100 + ping / atATime * atATime) / sent);
            QCOMPARE(passes, passed);
        }
        ModuleThread module({.dropAbove = 1});
        QCOMPARE(Tool(module.path()).answerTo(frame(0).repeated(2)), frame(0x40));
        QVERIFY(module.counts().tooFast == 1 && module.counts().unanswered == 0);
        QCOMPARE(module.takePings().back().fate(), "tooFast");
    }

    void holdsAnswersBack()
    {
        DelayedAnswers delayed(nullptr);
        QList<size_t> order; // by the number of pieces
        connect(&delayed, &DelayedAnswers::due, this,
                [&](const Answer& answer) { order += answer.pieces.size(); });
        for (const auto& [pieces, delayMs] : {std::pair(4, 20), {2, 5}, {3, 5}, {1, 0}})
            QVERIFY(
                delayed.hold({std::vector<AnswerPiece>(size_t(pieces))}, delayMs * qint64{1000}));
        QVERIFY(QTest::qWaitFor([&] { return order == QList<size_t>{1, 2, 3, 4}; }));
        for (int i = 0; i < 65536; ++i)
            QVERIFY(delayed.hold({}, 60'000'000));
        QVERIFY(!delayed.hold({}, 0));
    }

    void countsWhatFindsNoRoom()
    {
        constexpr int pings = 700;
        ModuleThread module;
        Tool tool(module.path());
        const QByteArray echo = frame(0x40, QByteArray(124, 'x'));
        for (int i = 0; i < pings; ++i)
            QVERIFY(tool.send(frame(0, QByteArray(124, 'x'))));
        QVERIFY(tool.send(frame(6).repeated(64)));
        QVERIFY(QTest::qWaitFor([&] { return module.counts().lcdRequests == quint64{64}; }));
        const ModuleCounts full = module.counts();
        QVERIFY(full.overrun > 0 && full.unanswered > 0 && full.repliesLost > 0);
        const QByteArray rest = echo.repeated(pings - int(full.overrun)) +
                                frame(0x46).repeated(64 - int(full.repliesLost));
        QVERIFY(tool.upTo(rest).isEmpty());
        const ModuleCounts counts = module.counts();
        QVERIFY(counts.unanswered == 0 && counts.overrun == full.overrun);
        for (const LedgerEntry& ping : module.takePings()) {
            const bool isIntact = ping.arrival < counts.echoesIntact;
            QCOMPARE(ping.fate(), isIntact ? "intact" : "overrun");
            QVERIFY(ping.arrivedNs > 0 && ping.closedNs >= ping.arrivedNs);
            QCOMPARE(ping.answeredNs, isIntact ? ping.closedNs : -1);
        }
    }
};

QTEST_GUILESS_MAIN(SimulatorTest)
#include "simulator_test.moc"
