#include "simulator/FaultPlan.h"
#include "simulator/LineWriter.h"
#include "simulator/SimulatedModule.h"
#include "tests/support/RawLine.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <bit>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int patienceMs = 5000;

/** A module on a thread of its own, and the descriptor of a tool connected to it. */
class ConnectedModule
{
public:
    template <typename Question> auto ask(Question question)
    {
        decltype(question(*module)) result{};
        QMetaObject::invokeMethod(
            module, [&] { result = question(*module); }, Qt::BlockingQueuedConnection);
        return result;
    }
    explicit ConnectedModule(const ModuleFaults& faults = {}) : module(new SimulatedModule(faults))
    {
        module->moveToThread(&thread);
        QObject::connect(&thread, &QThread::finished, module, &QObject::deleteLater);
        thread.start();
        ask([](SimulatedModule& m) { return m.open(); });
        const QString path = ask([](SimulatedModule& m) { return m.linePath(); });
        tool = ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    }
    ~ConnectedModule()
    {
        ::close(tool);
        thread.quit();
        thread.wait();
    }
    ConnectedModule(const ConnectedModule&) = delete;
    ConnectedModule& operator=(const ConnectedModule&) = delete;

    ModuleCounts counts()
    {
        return ask([](SimulatedModule& m) { return m.counts(); });
    }
    bool send(const QByteArray& bytes)
    {
        return ::write(tool, bytes.constData(), static_cast<size_t>(bytes.size())) == bytes.size();
    }
    /** What is on the line within `waitMs`, without waiting for more. */
    QByteArray takeSome(int waitMs)
    {
        pollfd line = {.fd = tool, .events = POLLIN, .revents = 0};
        if (::poll(&line, 1, waitMs) <= 0)
            return {};
        QByteArray bytes(4096, '\0');
        bytes.resize(std::max<ssize_t>(0, ::read(tool, bytes.data(), 4096)));
        return bytes;
    }
    QByteArray take(qsizetype count)
    {
        QByteArray bytes;
        QByteArray more;
        while (bytes.size() < count && !(more = takeSome(patienceMs)).isEmpty())
            bytes += more;
        return bytes;
    }
    /** What `request` is answered with, found by the faultless answer that a second one gets. */
    QByteArray answerTo(const QByteArray& request)
    {
        const QByteArray marker = frame(0xFE, "\x02");
        send(request + frame(0x3E));
        QByteArray bytes;
        while (!bytes.endsWith(marker)) {
            const QByteArray more = takeSome(patienceMs);
            if (more.isEmpty())
                return "(nothing more came)" + bytes;
            bytes += more;
        }
        return bytes.chopped(marker.size());
    }

    int tool = -1;

private:
    QThread thread;
    SimulatedModule* module; ///< deletes itself when the thread ends
};

QByteArray pingData(int number, qsizetype length = 24)
{
    QByteArray data(length, '\0');
    for (qsizetype i = 0; i < length; ++i)
        data[i] = static_cast<char>(number * 31 + i * 7);
    return data;
}

bool isOneFrame(const QByteArray& bytes)
{
    return bytes.size() >= 4 &&
           bytes == frame(static_cast<uint8_t>(bytes[0]), bytes.sliced(2, bytes.size() - 4));
}

int differingBits(const QByteArray& a, const QByteArray& b)
{
    int bits = a.size() == b.size() ? 0 : 10000;
    for (qsizetype i = 0; i < std::min(a.size(), b.size()); ++i)
        bits += std::popcount(static_cast<unsigned>(static_cast<uint8_t>(a[i] ^ b[i])));
    return bits;
}

using Probability = double ModuleFaults::*;
using Count = quint64 ModuleCounts::*;
/** Whether `bytes` is what a fault makes of `echo`, the faultless answer to a ping. */
using Effect = bool (*)(const QByteArray& bytes, const QByteArray& echo);

bool isAltered(const QByteArray& bytes, const QByteArray& echo)
{
    return isOneFrame(bytes) && bytes != echo && bytes.size() == echo.size() &&
           bytes.first(9) == echo.first(9);
}
bool isTruncated(const QByteArray& bytes, const QByteArray& echo)
{
    return isOneFrame(bytes) && bytes.size() < echo.size() &&
           echo.sliced(2).startsWith(bytes.sliced(2, bytes.size() - 4));
}
bool isBehindGarbage(const QByteArray& bytes, const QByteArray& echo)
{
    return bytes.endsWith(echo) && bytes.size() > echo.size() && bytes.size() <= echo.size() + 40;
}
bool isBehindReport(const QByteArray& bytes, const QByteArray& echo)
{
    return bytes.endsWith(echo) && isOneFrame(bytes.chopped(echo.size())) &&
           (static_cast<uint8_t>(bytes[0]) & 0xC0U) == 0x80;
}

} // namespace
Q_DECLARE_METATYPE(Probability)
Q_DECLARE_METATYPE(Count)
Q_DECLARE_METATYPE(Effect)

class SimulatorTest : public QObject
{
    Q_OBJECT

private slots:
    void answers_data();
    void answers();
    void keepsTheScreen();
    void acceptsRequestsCutAnywhere();
    void tellsPayloadFromFrames();
    void repeatsItsDecisions();
    void appliesOneFault_data();
    void appliesOneFault();
    void accountsForManyFaults();
    void holdsAnswersBack();
    void keepsToTheRate();
    void losesWholeAnswersWhenNobodyReads();
    void stallsAndUnplugs();
    void refusesOptions_data();
    void refusesOptions();
    void makesAndRemovesItsLink();
    void writesTheSummary_data();
    void writesTheSummary();
};

void SimulatorTest::answers_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char* name, const char* request, const char* expected) {
        QTest::newRow(name) << QByteArray::fromHex(request) << QByteArray::fromHex(expected);
    };
    row("empty ping", "0000470f", "40002149");
    row("ping", "000341424359b3", "40034142437b72");
    row("ping carrying a frame", "00040600975b0629", "40040600975bd72b");
    row("clear", "0600975b", "4600f11d");
    row("clear with data", "06017802f6", "4600f11d");
    row("write", "1f030000418b67", "5f00785f");
    row("write without a row", "1f01004610", "df01034728");
    row("write without data", "1f001e19", "df01034728");
    row("unknown", "0500ff71", "c5010221cf");
    row("last unknown", "3f0161f261", "ff0102f53a");
    row("reply", "40034142437b72", "");
    row("report", "80010171c2", "");
    row("error reply", "df01034728", "");
    row("wrong CRC", "000341424359b4", "");
    row("two at once", "000341424359b3 0500ff71", "40034142437b72 c5010221cf");
    row("behind an impossible length", "00ff 0000470f", "40002149");
    row("behind the start of a long frame", "007c 000341424359b3", "40034142437b72");
    row("behind a frame cut short", "0003414243 000341424359b3", "40034142437b72");
}

void SimulatorTest::answers()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, expected);
    ConnectedModule module;
    QCOMPARE(module.answerTo(request).toHex(), expected.toHex());
}

void SimulatorTest::keepsTheScreen()
{
    ConnectedModule module;
    const auto screenAfter = [&module](const QByteArray& data) {
        const QByteArray request = frame(31, data);
        if (module.send(request))
            module.take(4);
        return module.ask([](SimulatedModule& m) { return m.screen(); }).join('|');
    };
    const QString blank(20, ' ');
    const QString clipped = QString(17, ' ') + "abc";
    const QString last = "whole row of twenty.";
    QCOMPARE(screenAfter(QByteArray("\x11\x00", 2) + "abcdef"),
             QStringList({clipped, blank, blank, blank}).join('|'));
    const QString both = QStringList({clipped, blank, blank, last}).join('|');
    QCOMPARE(screenAfter(QByteArray("\x00\x03", 2) + last.toLatin1()), both);
    QCOMPARE(screenAfter(QByteArray("\x14\x01", 2) + "x"), both);
    QCOMPARE(screenAfter(QByteArray("\x00\x04", 2) + "x"), both);
    QCOMPARE(screenAfter(QByteArray("\xff\xff", 2) + "x"), both);
    QCOMPARE(module.answerTo(frame(6)), frame(0x46));
    QCOMPARE(module.ask([](SimulatedModule& m) { return m.screen(); }), QStringList(4, blank));
}

void SimulatorTest::acceptsRequestsCutAnywhere()
{
    ConnectedModule module;
    const QByteArray request = frame(0, pingData(1));
    for (qsizetype cut = 1; cut < request.size(); ++cut) {
        QVERIFY(module.send(request.first(cut)));
        module.counts(); // lets the module look at the first piece
        QCOMPARE(module.answerTo(request.sliced(cut)).toHex(), frame(0x40, pingData(1)).toHex());
    }
}

void SimulatorTest::tellsPayloadFromFrames()
{
    const QByteArray inner = frame(6);
    const QByteArray request = frame(0, inner + pingData(1));
    for (qsizetype cut = 1; cut < request.size(); ++cut) {
        RequestParser parser;
        parser.feed(request.first(cut));
        QVERIFY(!parser.next(RequestParser::Line::Busy));
        QVERIFY(parser.isWaiting());
        parser.feed(request.sliced(cut));
        const auto packet = parser.next(RequestParser::Line::Busy);
        QVERIFY(packet && packet->command == 0 && packet->data == inner + pingData(1));
        QVERIFY(!parser.isWaiting());
    }
    // The rest of what looked like a long frame never comes.
    RequestParser parser;
    parser.feed(request.first(10));
    QVERIFY(!parser.next(RequestParser::Line::Busy));
    const auto packet = parser.next(RequestParser::Line::Quiet);
    QVERIFY(packet && packet->command == 6 && packet->data.isEmpty());
}

void SimulatorTest::repeatsItsDecisions()
{
    const auto decide = [](const ModuleFaults& faults) {
        FaultPlan plan(faults);
        QString drops;
        QByteArray noise;
        for (int i = 0; i < 500; ++i) {
            const PingDecisions decisions = plan.next();
            drops += decisions.drop ? '1' : '0';
            noise += decisions.noise;
        }
        return std::pair(drops, noise);
    };
    ModuleFaults faults{.seed = 7, .drop = 0.3};
    const auto first = decide(faults);
    QCOMPARE(decide(faults), first);
    QVERIFY(first.first.count('1') > 100 && first.first.count('1') < 200);
    faults.garbage = faults.split = faults.errorReply = 0.5;
    faults.jitterMs = 100;
    QCOMPARE(decide(faults), first);
    faults.seed = 8;
    QVERIFY(decide(faults).first != first.first);
}

void SimulatorTest::appliesOneFault_data()
{
    QTest::addColumn<Probability>("fault");
    QTest::addColumn<Count>("counted");
    QTest::addColumn<bool>("intact");
    QTest::addColumn<Effect>("isApplied");
    const auto row = [](const char* name, Probability fault, Count counted, bool intact,
                        Effect isApplied) {
        QTest::newRow(name) << fault << counted << intact << isApplied;
    };
    using F = ModuleFaults;
    using C = ModuleCounts;
    using B = const QByteArray&;
    row("drop", &F::drop, &C::dropped, false, [](B bytes, B) { return bytes.isEmpty(); });
    row("corrupt", &F::corrupt, &C::corrupted, false,
        [](B bytes, B echo) { return differingBits(bytes, echo) == 1; });
    row("alter", &F::alter, &C::altered, false, isAltered);
    row("truncate", &F::truncate, &C::truncated, false, isTruncated);
    row("duplicate", &F::duplicate, &C::duplicated, true,
        [](B bytes, B echo) { return bytes == echo + echo; });
    row("garbage", &F::garbage, &C::garbage, true, isBehindGarbage);
    row("error reply", &F::errorReply, &C::errorReplies, false,
        [](B bytes, B) { return bytes == frame(0xC0, "\x01"); });
    row("report", &F::report, &C::reports, true, isBehindReport);
    row("split", &F::split, &C::split, true, [](B bytes, B echo) { return bytes == echo; });
}

void SimulatorTest::appliesOneFault()
{
    QFETCH(Probability, fault);
    QFETCH(Count, counted);
    QFETCH(bool, intact);
    QFETCH(Effect, isApplied);
    ModuleFaults faults;
    faults.*fault = 1;
    ConnectedModule module(faults);
    constexpr int pings = 20;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < pings; ++i) {
        const QByteArray bytes = module.answerTo(frame(0, pingData(i)));
        QVERIFY2(isApplied(bytes, frame(0x40, pingData(i))), bytes.toHex().constData());
    }
    QVERIFY(fault != &ModuleFaults::split || clock.elapsed() >= pings * 15);

    ModuleCounts expected;
    expected.pingsReceived = expected.otherRequests = expected.*counted = pings;
    if (fault != &ModuleFaults::drop)
        (intact ? expected.echoesIntact : expected.echoesDamaged) = pings;
    const ModuleCounts counts = module.counts();
    for (const ModuleCountField& field : moduleCountFields)
        QVERIFY2(counts.*field.value == expected.*field.value, field.name);
}

void SimulatorTest::accountsForManyFaults()
{
    ModuleFaults faults;
    for (const Probability fault :
         {&ModuleFaults::drop, &ModuleFaults::corrupt, &ModuleFaults::alter,
          &ModuleFaults::truncate, &ModuleFaults::duplicate, &ModuleFaults::garbage,
          &ModuleFaults::errorReply, &ModuleFaults::report, &ModuleFaults::split})
        faults.*fault = 0.25;
    ConnectedModule module(faults);
    quint64 intact = 0;
    quint64 empty = 0;
    for (int i = 0; i < 200; ++i) {
        // Lengths 0 to 10 reach the payloads that are too short to be altered or cut freely.
        const QByteArray data = pingData(i, i % 11);
        const QByteArray bytes = module.answerTo(frame(0, data));
        intact += bytes.contains(frame(0x40, data)) ? 1 : 0;
        empty += bytes.isEmpty() ? 1 : 0;
    }
    const ModuleCounts counts = module.counts();
    QCOMPARE(counts.echoesIntact, intact);
    QCOMPARE(counts.dropped, empty);
    QCOMPARE(counts.echoesIntact + counts.echoesDamaged + counts.dropped, quint64{200});
    QCOMPARE(counts.pingsReceived, quint64{200});
}

void SimulatorTest::holdsAnswersBack()
{
    ConnectedModule module({.delayMs = 60, .jitterMs = 200});
    constexpr int pings = 20;
    QByteArray requests;
    QByteArray inOrder;
    for (int i = 0; i < pings; ++i) {
        requests += frame(0, pingData(i));
        inOrder += frame(0x40, pingData(i));
    }
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(module.answerTo(requests), QByteArray()); // the other kind of request does not wait
    const ModuleCounts waiting = module.counts();
    if (clock.elapsed() < 60)
        QCOMPARE(waiting.unanswered, quint64{pings});
    const QByteArray answers = module.take(inOrder.size());
    QVERIFY(clock.elapsed() >= 60);
    QVERIFY(answers != inOrder);
    for (int i = 0; i < pings; ++i)
        QVERIFY(answers.contains(frame(0x40, pingData(i))));
    QCOMPARE(module.counts().echoesIntact, quint64{pings});
}

void SimulatorTest::keepsToTheRate()
{
    ConnectedModule module({.baudRate = 1200});
    const QByteArray data = pingData(1, 26);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(module.send(frame(0, data)));
    QCOMPARE(module.take(30), frame(0x40, data));
    // 30 bytes of 11 bits there and 30 back; each direction is idle while the other is busy.
    QVERIFY2(clock.elapsed() >= 550, qPrintable(QString::number(clock.elapsed())));
}

void SimulatorTest::losesWholeAnswersWhenNobodyReads()
{
    ConnectedModule module;
    const QByteArray request = frame(0, pingData(1, 124));
    QElapsedTimer clock;
    clock.start();
    quint64 sent = 0;
    while (module.counts().overrun < 100) {
        QVERIFY(module.send(request));
        ++sent;
        while (module.counts().pingsReceived < sent)
            QVERIFY(clock.elapsed() < 2 * patienceMs);
    }

    QByteArray received;
    while (module.counts().unanswered > 0 && clock.elapsed() < 4 * patienceMs)
        received += module.takeSome(0);
    for (QByteArray more = module.takeSome(0); !more.isEmpty(); more = module.takeSome(0))
        received += more;
    const ModuleCounts counts = module.counts();
    QCOMPARE(counts.echoesIntact + counts.overrun, sent);
    QVERIFY(counts.echoesIntact * 128 >= LineWriter::queueLimit);
    QCOMPARE(received, frame(0x40, pingData(1, 124)).repeated(int(counts.echoesIntact)));
    QCOMPARE(module.answerTo(request), frame(0x40, pingData(1, 124))); // there is room again
}

void SimulatorTest::stallsAndUnplugs()
{
    ConnectedModule module;
    pollfd line = {.fd = module.tool, .events = POLLIN, .revents = 0};
    const auto call = [&module](void (SimulatedModule::*slot)()) {
        return module.ask([slot](SimulatedModule& m) { return (m.*slot)(), true; });
    };
    call(&SimulatedModule::stall);
    QVERIFY(module.send(frame(0)));
    QCOMPARE(module.counts().pingsReceived, quint64{0});
    QCOMPARE(::poll(&line, 1, 100), 0);

    call(&SimulatedModule::unplug);
    QCOMPARE(::poll(&line, 1, patienceMs), 1);
    QVERIFY((line.revents & POLLHUP) != 0);
    QCOMPARE(::write(module.tool, "x", 1), ssize_t{-1});
    QVERIFY(!QFileInfo::exists(module.ask([](SimulatedModule& m) { return m.linePath(); })));
}

namespace {

/** packetbrask-module in a process of its own, ended at the latest with this object. */
class Program : public QProcess
{
public:
    explicit Program(const QStringList& arguments) { start(MODULE_PROGRAM, arguments); }
    ~Program() override
    {
        kill();
        waitForFinished();
    }
    /** The first line of its output; empty when it ends without one. */
    QString line()
    {
        while (!canReadLine() && waitForReadyRead(patienceMs))
            continue;
        return QString::fromLocal8Bit(readLine()).trimmed();
    }
    int exitStatusOnceEnded()
    {
        return waitForFinished(patienceMs) && exitStatus() == NormalExit ? exitCode() : -1;
    }
};

} // namespace

void SimulatorTest::refusesOptions_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("named");
    for (const char* option : {"drop", "corrupt", "alter", "truncate", "duplicate", "garbage",
                               "error-reply", "report", "split"})
        QTest::newRow(option) << QStringLiteral("--%1=1.01").arg(option)
                              << QStringLiteral("--%1: \"1.01\"").arg(option);
    for (const char* text :
         {"--drop=-0.1", "--drop=nan", "--drop=", "--delay=60001", "--delay=-1", "--jitter=1.5",
          "--baud=0", "--baud=1199", "--baud=fast", "--seed=-1", "--seed=18446744073709551616",
          "--unplug-after=-1", "--stall-after=soon", "--link=", "--summary="}) {
        const QString argument = text;
        QTest::newRow(text) << argument << argument.section('=', 0, 0) + ':';
    }
    QTest::newRow("value missing") << "--drop"
                                   << "'--drop'";
    QTest::newRow("unknown") << "--loud"
                             << "'loud'";
    QTest::newRow("positional") << "pty"
                                << "\"pty\"";
}

void SimulatorTest::refusesOptions()
{
    QFETCH(QString, argument);
    QFETCH(QString, named);
    Program program({argument});
    QCOMPARE(program.exitStatusOnceEnded(), 2);
    const QString complaint = program.readAllStandardError();
    QVERIFY2(complaint.contains(named) && complaint.contains("allowed"), qPrintable(complaint));
    QCOMPARE(complaint.count('\n'), 1);
    QCOMPARE(program.readAllStandardOutput(), QByteArray());
}

void SimulatorTest::makesAndRemovesItsLink()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("line");
    QVERIFY(QFile::link("/nowhere", path));
    {
        Program program({"--link", path});
        const QString line = program.line();
        QCOMPARE(QFile::symLinkTarget(path), line);
        Program second({"--link", path});
        QCOMPARE(second.exitStatusOnceEnded(), 2);
        QCOMPARE(program.state(), QProcess::Running);
        program.terminate();
        QCOMPARE(program.exitStatusOnceEnded(), 0);
        QVERIFY(!QFileInfo(path).isSymLink());
    }
    {
        Program program({"--link", path});
        program.line();
        QVERIFY(QFile::remove(path) && QFile::link("/elsewhere", path));
        program.terminate();
        QCOMPARE(program.exitStatusOnceEnded(), 0);
        QCOMPARE(QFile::symLinkTarget(path), QString("/elsewhere"));
    }
    QCOMPARE(Program({"--link", folder.path()}).exitStatusOnceEnded(), 2);
    QCOMPARE(Program({"--link", folder.filePath("none/line")}).exitStatusOnceEnded(), 1);
}

void SimulatorTest::writesTheSummary_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("writable");
    QTest::newRow("SIGTERM") << QStringList() << true;
    QTest::newRow("unplugged") << QStringList("--unplug-after=0.1") << true;
    QTest::newRow("no such folder") << QStringList("--unplug-after=0.1") << false;
}

void SimulatorTest::writesTheSummary()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, writable);
    const QTemporaryDir folder;
    const QString path = folder.filePath(writable ? "summary.json" : "none/summary.json");
    Program program(arguments + QStringList{"--summary", path, "--delay=60000"});
    const QByteArray line = program.line().toLocal8Bit();
    const int pings = arguments.isEmpty() ? 1 : 0;
    if (pings > 0) {
        const int tool = ::open(line.constData(), O_RDWR | O_NOCTTY);
        const QByteArray requests = frame(0) + frame(31, QByteArray("\0\0Hi", 4));
        QCOMPARE(::write(tool, requests.constData(), size_t(requests.size())), requests.size());
        QByteArray reply(4, '\0');
        QCOMPARE(::read(tool, reply.data(), 4), ssize_t{4});
        ::close(tool);
        program.terminate();
    }
    QCOMPARE(program.exitStatusOnceEnded(), writable ? 0 : 1);

    QFile file(path);
    QCOMPARE(file.open(QIODevice::ReadOnly), writable);
    if (!writable)
        return;
    const QJsonObject summary = QJsonDocument::fromJson(file.readAll()).object();
    QCOMPARE(summary["pingsReceived"].toInt(), pings);
    QCOMPARE(summary["unanswered"].toInt(), pings);
    QCOMPARE(summary["lcdRequests"].toInt(), pings);
    QCOMPARE(summary["screen"].toArray().at(0).toString(),
             QString(pings > 0 ? "Hi" : "").leftJustified(20));
    QCOMPARE(summary.size(), qsizetype(moduleCountFields.size() + 1));
}

QTEST_GUILESS_MAIN(SimulatorTest)
#include "simulator_test.moc"
