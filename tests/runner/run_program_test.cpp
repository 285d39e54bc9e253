#include "simulator/ModuleThread.h"
#include "tests/support/RawLine.h"
#include "tests/support/RunTruth.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

Q_DECLARE_METATYPE(ModuleFaults)

namespace {

constexpr int patienceMs = 60000;

/** packetbrask-run at work. */
class Program : public QProcess
{
public:
    explicit Program(
        const QStringList& arguments, const std::function<void()>& inChild = [] {})
    {
        setChildProcessModifier(inChild);
        start(RUN_PROGRAM, arguments);
        setReadChannel(StandardError);
    }
    /** True once standard error has this text. */
    bool says(const QByteArray& text)
    {
        const QDeadlineTimer deadline(patienceMs);
        while (!errors.contains(text)) {
            if (!waitForReadyRead(int(deadline.remainingTime())))
                return false;
            errors += readAllStandardError();
        }
        return true;
    }
    int statusOnceEnded()
    {
        const bool ended = waitForFinished(patienceMs) && exitStatus() == NormalExit;
        errors += readAllStandardError();
        return ended ? exitCode() : -1;
    }

    QByteArray errors;
};

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QJsonObject objectIn(const QByteArray& text)
{
    return QJsonDocument::fromJson(text).object();
}

bool isCompleteEventFile(const QByteArray& text)
{
    const QList<QByteArray> rows = text.split('\n');
    return rows.value(0).startsWith("Timestamp,") && rows.value(1).endsWith(",Test started") &&
           rows.value(rows.size() - 2).contains("Test stopped. Sent: ") && rows.last().isEmpty();
}

} // namespace

/** The built program against the simulated one. */
class RunProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        folder = std::make_unique<QTemporaryDir>();
        events = folder->filePath("events.csv");
        report = folder->filePath("report.json");
    }

    void judgesRuns_data()
    {
        QTest::addColumn<ModuleFaults>("faults");
        QTest::addColumn<QString>("limit");
        QTest::addColumn<bool>("passes");
        QTest::newRow("passed") << ModuleFaults{} << "--max-latency=400" << true;
        QTest::newRow("silent") << ModuleFaults{.drop = 1} << "--max-loss=100" << false;
        QTest::newRow("late") << ModuleFaults{.delayMs = 60} << "--max-latency=50" << false;
    }

    void judgesRuns()
    {
        QFETCH(ModuleFaults, faults);
        QFETCH(QString, limit);
        QFETCH(bool, passes);
        ModuleThread module(faults);
        Program program({limit, "--port", module.path(), "--duration", "1", "--json", report,
                         "--events", events, "--quiet"});
        QCOMPARE(program.statusOnceEnded(), passes ? 0 : 1);
        const QJsonObject written = objectIn(contentOf(report));
        QCOMPARE(written["verdict"].toString(), passes ? "passed" : "failed");
        QCOMPARE(program.errors.count('\n'), written["reasons"].toArray().size());
        QVERIFY(isCompleteEventFile(contentOf(events)));
    }

    void endsWithoutARun_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("complaint");
        QTest::newRow("usage") << QStringList{"--port", "x", "--rate", "0"} << 2
                               << QByteArray("--rate: \"0\" is not allowed, only a whole number");
        QTest::newRow("no such port") << QStringList{"--port", "/nowhere/tty"} << 3
                                      << QByteArray("(/nowhere/tty: No such file or directory)");
        QTest::newRow("no terminal") << QStringList{"--port", "/dev/null"} << 3
                                     << QByteArray("Failed to configure port settings (/dev/null)");
    }

    void endsWithoutARun()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, complaint);
        Program program(arguments + QStringList{"--quiet", "--json", report, "--events", events});
        QTEST(program.statusOnceEnded(), "status");
        QVERIFY2(program.errors.contains(complaint), program.errors);
        QCOMPARE(program.errors.count('\n'), 1);
        QVERIFY(QDir(folder->path()).isEmpty());
    }

    void noticesALostLine()
    {
        for (const auto loseTheLine : {&ModuleThread::unplug, &ModuleThread::stall}) {
            init();
            ModuleThread module;
            Program program({"--port", module.path(), "--rate", "1000", "--min-size", "124",
                             "--timeout", "100", "--json", report, "--events", events});
            QVERIFY(program.says("SUCCESS: Packet"));
            (module.*loseTheLine)();
            QCOMPARE(program.statusOnceEnded(), 4);
            QCOMPARE(objectIn(contentOf(report))["verdict"].toString(), "lineLost");
            QVERIFY(isCompleteEventFile(contentOf(events)));
        }
    }

    void touchesNothingThatIsThere()
    {
        QFile full(folder->filePath("full"));
        QVERIFY(full.open(QIODevice::WriteOnly) && full.write("mine") == 4);
        full.close();
        QVERIFY(QFile::link("target", folder->filePath("link")));
        ModuleThread module;
        for (const QStringList& target : {QStringList{"--events", "full"},
                                          {"--events", "link"},
                                          {"--events", "none/file"},
                                          {"--json", "none/file"},
                                          {"--json", "."}}) {
            Program program({"--port", module.path(), target[0], folder->filePath(target[1])});
            QCOMPARE(program.statusOnceEnded(), 5);
            QVERIFY2(program.errors.contains("cannot write"), program.errors);
            QCOMPARE(contentOf(full.fileName()), "mine");
            QCOMPARE(QDir(folder->path()).entryList(QDir::Files | QDir::System).size(), 2);
        }
        QCOMPARE(module.counts().pingsReceived, quint64{0});
    }

    void goesOnWithoutItsEventFile()
    {
        ModuleThread module;
        Program program({"--port", module.path(), "--duration", "1", "--quiet", "--events", events,
                         "--json", "-"},
                        [] {
                            const rlimit limit{1000, 1000};
                            setrlimit(RLIMIT_FSIZE, &limit);
                        });
        QCOMPARE(program.statusOnceEnded(), 5);
        const QByteArray output = program.readAllStandardOutput();
        QCOMPARE(objectIn(output)["verdict"].toString(), "outputFailed");
        const QByteArray rows = contentOf(events);
        QVERIFY(rows.size() > 800 && rows.endsWith('\n'));
        Program another({"--port", module.path(), "--duration", "1", "--quiet", "--json", "-"},
                        [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
        QCOMPARE(another.statusOnceEnded(), 5);
    }

    void endsInOrderOnASignal()
    {
        ModuleThread module;
        Program program({"--port", module.path(), "--events", events, "--json", "-", "--max-loss",
                         "90", "--rate", "50"});
        QVERIFY(program.says("SUCCESS: Packet 0:"));
        program.terminate();
        QVERIFY(program.says("Waiting for final replies..."));
        program.terminate();
        QCOMPARE(program.statusOnceEnded(), 0);
        QVERIFY(isCompleteEventFile(contentOf(events)));
        QVERIFY(!program.errors.contains('\033'));
        QJsonParseError error{};
        const QByteArray output = program.readAllStandardOutput();
        const QJsonObject written = QJsonDocument::fromJson(output, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QVERIFY(written["achievedPacketsPerSecond"].isDouble());
        QVERIFY(QDateTime::fromString(written["start"].toString(), Qt::ISODateWithMs) <
                QDateTime::fromString(written["end"].toString(), Qt::ISODateWithMs));
    }

    void agreesWithTheModule()
    {
        ModuleThread module(manyFaults());
        Program program({"--port", module.path(), "--rate", "200", "--timeout", "1000",
                         "--duration", "1", "--json", "-"});
        QCOMPARE(program.statusOnceEnded(), 1);
        const QJsonObject seen = objectIn(program.readAllStandardOutput());
        const auto figure = [&](const char* name) { return quint64(seen[name].toInteger()); };
        QCOMPARE(disagreement(module, figure("packetsSent"), figure("packetsReceived"),
                              figure("packetsLost"), program.errors),
                 QString());
    }

    void keepsTheStatusLineApart()
    {
        for (const bool coloured : {false, true}) {
            coloured ? qunsetenv("NO_COLOR") : qputenv("NO_COLOR", "1");
            ModuleThread module;
            RawLine terminal;
            Program program({"--port", module.path(), "--rate", "4", "--duration", "2"},
                            [&] { dup2(terminal.otherEnd(), STDERR_FILENO); });
            QCOMPARE(program.statusOnceEnded(), 0);
            QByteArray shown;
            while (!shown.contains("Disconnected from port")) {
                const QByteArray more = terminal.take(1);
                QVERIFY2(!more.isEmpty(), shown);
                shown += more;
            }
            QVERIFY2(shown.contains("1 s of 2 s | sent "), shown);
            QCOMPARE(shown.contains("\033[32m["), coloured);
            for (const QByteArray& line : shown.split('\n'))
                QVERIFY2(!line.mid(line.lastIndexOf("\033[K") + 1).contains("| sent "), shown);
        }
    }

    void listsPorts()
    {
        QProcess program;
        program.start(UMOCKDEV_RUN, {"--device", PORT_DESCRIPTION, "--", RUN_PROGRAM, "--list"});
        QVERIFY(program.waitForFinished(patienceMs));
        const QList<QByteArray> lines = program.readAllStandardOutput().split('\n');
        QCOMPARE(lines.size(), 5);
        QVERIFY(lines.contains("/dev/ttyUSB0\tttyUSB0 = USB_Serial"));
        QCOMPARE(program.exitCode(), 0);
    }

private:
    std::unique_ptr<QTemporaryDir> folder; ///< a new one for each case
    QString events;
    QString report;
};

QTEST_GUILESS_MAIN(RunProgramTest)
#include "run_program_test.moc"
