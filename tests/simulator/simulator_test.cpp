#include "simulator/ModuleThread.h"
#include "simulator/RequestParser.h"
#include "tests/support/RawLine.h"
#include "tests/support/processes.h"

#include <QtTest>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int patienceMs = 5000;
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
        for (std::array<char, 4096> some{}; !bytes.endsWith(ending);) {
            if (::poll(&line, 1, patienceMs) != 1 || line.revents != POLLIN)
                return bytes + " and then nothing";
            bytes.append(some.data(), ::read(line.fd, some.data(), some.size()));
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
                    answers += tool.answerTo(frame(0, pingData(i)));
                return std::tuple(answers, module.counts(), module.takePings());
            };
            const auto [answers, counts, records] = run();
            ModuleCounts seen{.pingsReceived = pings, .otherRequests = pings};
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

    void takesItsTime()
    {
        for (const auto& [faults, leastMs] :
             {std::pair(ModuleFaults{.baudRate = 1200}, 2 * 28 * 11 * 1000 / 1200),
              {ModuleFaults{.split = 1}, 15}}) {
            ModuleThread module(faults);
            Tool tool(module.path());
            const QDeadlineTimer earliest(leastMs, Qt::PreciseTimer);
            QVERIFY(tool.send(frame(0, pingData(1))));
            QCOMPARE(tool.upTo(frame(0x40, pingData(1))), QByteArray());
            QVERIFY(earliest.hasExpired());
        }
    }

    void refusesOptions()
    {
        for (const QByteArray& argument : std::initializer_list<QByteArray>{
                 "--drop=1.01", "--split=-0.1", "--report=nan", "--alter=", "--delay=60001",
                 "--jitter=1.5", "--baud=1199", "--seed=18446744073709551616",
                 "--link=", "--link=/", "--unplug-after=-1", "--stall-after=soon",
                 "--summary=", "--ledger=", "--drop", "pty"}) {
            Program program(MODULE_PROGRAM, {argument});
            QVERIFY2(program.status() == 2, argument);
            QVERIFY2(program.errors.contains(argument.split('=')[0]), argument);
        }
    }

    void cleansUpBehindItself()
    {
        const QTemporaryDir folder;
        const QString link = folder.filePath("line");
        QFile summary(folder.filePath("summary"));
        QFile ledger(folder.filePath("ledger"));
        for (const QString& file : {summary.fileName(), folder.filePath("none/file")}) {
            for (const char* output : {"--summary", "--ledger"}) {
                Program program(MODULE_PROGRAM, {output, file, "--unplug-after=0"});
                QCOMPARE(program.status(), file == summary.fileName() ? 0 : 1);
            }
        }
        QVERIFY(summary.remove());

        QVERIFY(QFile::link("/nowhere", link)); // what an earlier run left behind
        for (const QString& other : std::initializer_list<QString>{"", "/elsewhere"}) {
            Program program(MODULE_PROGRAM, {"--link", link, "--summary", summary.fileName(),
                                             "--delay=60000", "--ledger", ledger.fileName()});
            QVERIFY(program.waitForReadyRead(patienceMs));
            const QString path = QString(program.readLine()).trimmed();
            QCOMPARE(QFile::symLinkTarget(link), path);
            QCOMPARE(Program(MODULE_PROGRAM, {"--link", link}).status(), 2);
            Tool tool(path);
            QVERIFY(tool.send(frame(0) + frame(31, QByteArray("\x11\x03", 2) + "clipped")));
            QCOMPARE(tool.upTo(frame(0x5F)), QByteArray());
            QVERIFY(other.isEmpty() || (QFile::remove(link) && QFile::link(other, link)));
            program.terminate();
            QCOMPARE(program.status(), 0);
            QCOMPARE(QFile::symLinkTarget(link), other);
        }
        QVERIFY(summary.open(QIODevice::ReadOnly));
        const QJsonDocument counts = QJsonDocument::fromJson(summary.readAll());
        QCOMPARE(counts["unanswered"].toInt(), 1);
        QCOMPARE(counts["screen"][3].toString(), QString("cli").rightJustified(20));
        QVERIFY(ledger.open(QIODevice::ReadOnly));
        const QString rows = ledger.readAll();
        static const QRegularExpression row("HeldUs\n0,0,\\d{4,},unanswered,,\n$");
        QVERIFY(rows.contains(row));
    }
};

QTEST_GUILESS_MAIN(SimulatorTest)
#include "simulator_test.moc"
