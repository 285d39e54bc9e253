#include "simulator/RequestParser.h"
#include "tests/support/ModuleThread.h"
#include "tests/support/RawLine.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <bit>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int patienceMs = 5000;

/** What a tool has open while it talks to a module. */
class Tool
{
public:
    explicit Tool(const QString& path)
        : line{.fd = ::open(qPrintable(path), O_RDWR | O_NOCTTY | O_NONBLOCK),
               .events = POLLIN,
               .revents = 0}
    {
    }
    ~Tool() { ::close(line.fd); }
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

    bool send(const QByteArray& bytes)
    {
        return ::write(line.fd, bytes.constData(), size_t(bytes.size())) == bytes.size();
    }
    /** What poll() tells of the line, 0 when nothing happens within `waitMs`. */
    int events(int waitMs) { return ::poll(&line, 1, waitMs) == 1 ? line.revents : 0; }
    /** What comes in front of `ending`. */
    QByteArray takeUntil(const QByteArray& ending)
    {
        QByteArray bytes;
        for (std::array<char, 4096> some{}; !bytes.endsWith(ending);) {
            if (events(patienceMs) != POLLIN)
                return bytes + " and then nothing";
            bytes.append(some.data(), ::read(line.fd, some.data(), some.size()));
        }
        return bytes.chopped(ending.size());
    }
    /** What `request` is answered with: all in front of the answer to an unknown one behind it. */
    QByteArray answerTo(const QByteArray& request)
    {
        return send(request + frame(0x3E)) ? takeUntil(frame(0xFE, "\x02")) : "cannot send";
    }

private:
    pollfd line;
};

QByteArray pingData(int number)
{
    QByteArray data(24, '\0');
    for (char& byte : data)
        byte = char(number += 31);
    return data;
}

using Bytes = const QByteArray&;

bool isFrame(Bytes bytes)
{
    return bytes.size() >= 4 && bytes == frame(uint8_t(bytes[0]), bytes.mid(2, bytes.size() - 4));
}
bool isCorrupted(Bytes bytes, Bytes echo)
{
    int bits = 0;
    for (qsizetype i = 0; i < echo.size() && bytes.size() == echo.size(); ++i)
        bits += std::popcount(uint8_t(bytes[i] ^ echo[i]));
    return bits == 1;
}
bool isAltered(Bytes bytes, Bytes echo)
{ // The seven bytes that tell pings apart stay.
    return isFrame(bytes) && bytes.size() == echo.size() && bytes.startsWith(echo.first(9));
}
bool isTruncated(Bytes bytes, Bytes echo)
{
    return isFrame(bytes) && bytes.size() < echo.size() &&
           echo.mid(2).startsWith(bytes.mid(2, bytes.size() - 4));
}
bool isBehindGarbage(Bytes bytes, Bytes echo)
{
    return bytes.endsWith(echo) && bytes.size() <= echo.size() + 40;
}
bool isBehindReport(Bytes bytes, Bytes echo)
{
    return bytes.endsWith(echo) && isFrame(bytes.chopped(echo.size())) && (bytes[0] & 0xC0) == 0x80;
}

struct Fault
{
    double ModuleFaults::*probability;
    quint64 ModuleCounts::*count;
    quint64 ModuleCounts::*outcome; ///< as what a ping that meets the fault is counted
    bool (*isSeen)(Bytes bytes, Bytes echo);
};

/** packetbrask-module in a process of its own, ended at the latest with this object. */
class Program : public QProcess
{
public:
    explicit Program(const QStringList& arguments) { start(MODULE_PROGRAM, arguments); }
    ~Program() override { kill(), waitForFinished(); }
    QString line()
    {
        while (!canReadLine() && waitForReadyRead(patienceMs))
            continue;
        return QString::fromLocal8Bit(readLine()).trimmed();
    }
    int status() { return waitForFinished(patienceMs) && exitStatus() == 0 ? exitCode() : -1; }
};

} // namespace
Q_DECLARE_METATYPE(Fault)
Q_DECLARE_METATYPE(ModuleFaults)

class SimulatorTest : public QObject
{
    Q_OBJECT

private slots:
    void answers();
    void countsWhatArrives_data();
    void countsWhatArrives();
    void takesItsTime();
    void stallsAndUnplugs();
    void refusesOptions();
    void ownsItsLink();
    void writesItsSummary();
};

void SimulatorTest::answers()
{
    ModuleThread module;
    Tool tool(module.path());
    for (const auto& [request, answer] : std::initializer_list<std::pair<const char*, const char*>>{
             {"0000470f", "40002149"},                                 // ping
             {"000341424359b3", "40034142437b72"},                     // ping
             {"00040600975b0629", "40040600975bd72b"},                 // ping carrying a frame
             {"06017802f6", "4600f11d"},                               // clear
             {"1f030000418b67", "5f00785f"},                           // write
             {"1f01004610", "df01034728"},                             // write without a row
             {"3f0161f261", "ff0102f53a"},                             // unknown
             {"40034142437b72 80010171c2 df01034728", ""},             // no requests
             {"000341424359b4", ""},                                   // wrong CRC
             {"000341424359b3 0500ff71", "40034142437b72 c5010221cf"}, // two at once
             {"00ff 0000470f", "40002149"},                            // behind a wrong length
             {"007c 000341424359b3", "40034142437b72"},                // behind a frame cut short
         })
        QCOMPARE(tool.answerTo(QByteArray::fromHex(request)).toHex(),
                 QByteArray::fromHex(answer).toHex());

    const QByteArray request = frame(0, pingData(1));
    const QByteArray nested = frame(0, frame(6) + pingData(1));
    for (qsizetype cut = 1; cut < request.size(); ++cut) {
        QVERIFY(tool.send(request.first(cut)));
        module.counts(); // lets the module look at the first piece
        QCOMPARE(tool.answerTo(request.mid(cut)), frame(0x40, pingData(1)));
        // Not by way of the line: only the parser waits for the rest however late it comes.
        RequestParser parser;
        parser.feed(nested.first(cut));
        QVERIFY(!parser.next(RequestParser::Line::Busy));
        parser.feed(nested.mid(cut));
        QCOMPARE(parser.next(RequestParser::Line::Busy).value_or(ReceivedPacket{}).data,
                 frame(6) + pingData(1));
    }
}

void SimulatorTest::countsWhatArrives_data()
{
    using F = ModuleFaults;
    using C = ModuleCounts;
    constexpr auto intact = &C::echoesIntact;
    constexpr auto damaged = &C::echoesDamaged;
    QTest::addColumn<Fault>("fault");
    const auto row = [](const char* name, const Fault& fault) { QTest::newRow(name) << fault; };
    row("drop", {&F::drop, &C::dropped, &C::dropped, [](Bytes b, Bytes) { return b.isEmpty(); }});
    row("corrupt", {&F::corrupt, &C::corrupted, damaged, isCorrupted});
    row("alter", {&F::alter, &C::altered, damaged, isAltered});
    row("truncate", {&F::truncate, &C::truncated, damaged, isTruncated});
    row("duplicate", {&F::duplicate, &C::duplicated, intact,
                      [](Bytes b, Bytes echo) { return b == echo + echo; }});
    row("garbage", {&F::garbage, &C::garbage, intact, isBehindGarbage});
    row("report", {&F::report, &C::reports, intact, isBehindReport});
    row("error reply", {&F::errorReply, &C::errorReplies, damaged,
                        [](Bytes b, Bytes) { return b == frame(0xC0, "\x01"); }});
}

void SimulatorTest::countsWhatArrives()
{
    QFETCH(Fault, fault);
    constexpr int pings = 60;
    const auto answersAndCounts = [&fault](quint64 seed) {
        ModuleFaults faults{.seed = seed};
        faults.*fault.probability = 0.5;
        ModuleThread module(faults);
        Tool tool(module.path());
        QByteArrayList answers;
        for (int i = 0; i < pings; ++i)
            answers += tool.answerTo(frame(0, pingData(i)));
        return std::pair(answers, module.counts());
    };
    const auto [answers, counts] = answersAndCounts(7);
    ModuleCounts expected{.pingsReceived = pings, .otherRequests = pings};
    for (int i = 0; i < pings; ++i) {
        const QByteArray echo = frame(0x40, pingData(i));
        const bool hit = answers[i] != echo;
        QVERIFY2(!hit || fault.isSeen(answers[i], echo), answers[i].toHex().constData());
        ++(expected.*(hit ? fault.outcome : &ModuleCounts::echoesIntact));
        expected.*fault.count += hit && fault.count != fault.outcome ? 1 : 0;
    }
    for (const ModuleCountField& field : moduleCountFields)
        QVERIFY2(counts.*field.value == expected.*field.value, field.name);
    QVERIFY(counts.*fault.count > pings / 4 && counts.*fault.count < pings * 3 / 4);
    QCOMPARE(answersAndCounts(7).first, answers);
    QVERIFY(answersAndCounts(8).first != answers);
}

void SimulatorTest::takesItsTime()
{
    for (const auto& [faults, leastMs] : std::initializer_list<std::pair<ModuleFaults, int>>{
             {{.baudRate = 1200}, 2 * 28 * 11 * 1000 / 1200}, // there and back
             {{.delayMs = 60}, 60},
             {{.split = 1}, 15},
         }) {
        ModuleThread module(faults);
        Tool tool(module.path());
        QElapsedTimer clock;
        clock.start();
        QVERIFY(tool.send(frame(0, pingData(1))));
        QCOMPARE(tool.takeUntil(frame(0x40, pingData(1))), QByteArray());
        QVERIFY2(clock.elapsed() >= leastMs, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(module.counts().split, quint64(faults.split));
    }
}

void SimulatorTest::stallsAndUnplugs()
{
    ModuleThread module;
    Tool tool(module.path());
    module.stall();
    QVERIFY(tool.send(frame(0)));
    QCOMPARE(tool.events(100), 0);
    module.unplug();
    QVERIFY((tool.events(patienceMs) & POLLHUP) != 0);
    QVERIFY(!QFileInfo::exists(module.path()));
}

void SimulatorTest::refusesOptions()
{
    for (const QString argument :
         {"--drop=1.01", "--split=-0.1", "--report=nan", "--alter=", "--delay=60001",
          "--jitter=1.5", "--baud=1199", "--baud=fast", "--seed=-1", "--seed=18446744073709551616",
          "--link=", "--link=/", "--unplug-after=-1", "--stall-after=soon", "--summary=", "--drop",
          "pty"}) {
        Program program({argument});
        QVERIFY2(program.status() == 2, qPrintable(argument));
        const QString complaint = program.readAllStandardError();
        QVERIFY2(complaint.contains(argument.section('=', 0, 0)) && complaint.contains("allowed") &&
                     complaint.count('\n') == 1,
                 qPrintable(complaint));
    }
}

void SimulatorTest::ownsItsLink()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("line");
    QVERIFY(QFile::link("/nowhere", path)); // what an earlier run left behind
    for (const bool isReplaced : {false, true}) {
        Program program({"--link", path});
        QCOMPARE(program.line(), QFile::symLinkTarget(path));
        QCOMPARE(Program({"--link", path}).status(), 2);
        if (isReplaced)
            QVERIFY(QFile::remove(path) && QFile::link("/elsewhere", path));
        program.terminate();
        QCOMPARE(program.status(), 0);
        QCOMPARE(QFile::symLinkTarget(path), QString(isReplaced ? "/elsewhere" : ""));
    }
}

void SimulatorTest::writesItsSummary()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("summary.json");
    const auto summary = [&path] {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                              : QJsonObject();
    };
    QCOMPARE(Program({"--summary", path, "--unplug-after=0.1"}).status(), 0);
    QCOMPARE(summary().size(), qsizetype(moduleCountFields.size() + 1));
    QCOMPARE(Program({"--summary=/none/file", "--unplug-after=0.1"}).status(), 1);

    Program program({"--summary", path, "--delay=60000"});
    Tool tool(program.line());
    QVERIFY(tool.send(frame(0) + frame(31, QByteArray("\x11\x03", 2) + "clipped")));
    QCOMPARE(tool.takeUntil(frame(0x5F)), QByteArray());
    program.terminate();
    QCOMPARE(program.status(), 0);
    QCOMPARE(summary()["unanswered"].toInt(), 1);
    QCOMPARE(summary()["lcdRequests"].toInt(), 1);
    QCOMPARE(summary()["screen"].toArray().at(3).toString(), QString("cli").rightJustified(20));
}

QTEST_GUILESS_MAIN(SimulatorTest)
#include "simulator_test.moc"
