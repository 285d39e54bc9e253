#include "simulator/ModuleThread.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/resource.h>

namespace {

/** packetbrask-run at work, or another program. */
struct Program : QProcess
{
    explicit Program(const QStringList& arguments, const QString& path = RUN_PROGRAM)
    {
        setReadChannel(StandardError);
        start(path, arguments);
    }
    /** True once standard error has this text. */
    bool says(const QByteArray& text)
    {
        while (!errors.contains(text) && waitForReadyRead(60000))
            errors += readAllStandardError();
        return errors.contains(text);
    }
    int statusOnceEnded()
    {
        const bool ended = waitForFinished(60000) && exitStatus() == NormalExit;
        errors += readAllStandardError();
        return ended ? exitCode() : -1;
    }

    QByteArray errors;
};

/**
 * Judges the report of a run by what the module counted; `log` holds the engine's lines. Random
 * bytes may by chance be a correct frame, which can swallow the start of an echo; such a frame has
 * a random command and so shows as a line that no answer accounts for, and each of them excuses one
 * echo. For that, no error reply may be sent twice.
 */
bool agrees(const QJsonDocument& report, const ModuleCounts& truth, const QByteArray& log)
{
    const auto figure = [&](const char* name) { return quint64(report[name].toInteger()); };
    const auto strays = [&](const char* line, quint64 accounted) {
        const auto lines = quint64(log.count(line));
        return lines - std::min(lines, accounted);
    };
    const quint64 excused = strays("Device report", truth.reports) +
                            strays("Device error response", truth.errorReplies) +
                            strays("unexpected packet", 0);
    const quint64 received = figure("packetsReceived");
    return figure("packetsSent") == truth.pingsReceived && received <= truth.echoesIntact &&
           received + figure("packetsLost") == truth.pingsReceived &&
           truth.echoesIntact - received <= excused;
}

} // namespace

/** The built program against the simulated module. */
class RunProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void listsPorts()
    {
        Program program({"--device", PORT_DESCRIPTION, "--", RUN_PROGRAM, "--list"}, UMOCKDEV_RUN);
        QCOMPARE(program.statusOnceEnded(), 0);
        QVERIFY(program.readAllStandardOutput().contains("/dev/ttyUSB0\tttyUSB0 = USB_Serial\n"));
    }

    void agreesWithTheModule()
    {
        const ModuleFaults many{.seed = 1,
                                .drop = 0.1,
                                .corrupt = 0.05,
                                .alter = 0.05,
                                .truncate = 0.05,
                                .duplicate = 0.1,
                                .garbage = 0.2,
                                .report = 0.1,
                                .split = 0.1,
                                .delayMs = 60};
        const ModuleFaults errors{.seed = 2, .garbage = 0.1, .errorReply = 0.3, .report = 0.1};
        const ModuleFaults overtaking{.delayMs = 5, .jitterMs = 60};
        for (const auto& [faults, option, reasons] :
             {std::tuple(ModuleFaults{}, "--max-loss=0", 0),
              {many, "--max-latency=50", 2},
              {errors, "--max-loss=100", 0},
              {overtaking, "--max-loss=0", 0},
              {ModuleFaults{.baudRate = 38400}, "--max-loss=100", 0}}) {
            ModuleThread module(faults);
            Program program({"--port", module.path(), "--rate=200", "--max-size=16",
                             "--timeout=1000", "--duration=1", "--json=-", option});
            QCOMPARE(program.statusOnceEnded(), reasons == 0 ? 0 : 1);
            const auto seen = QJsonDocument::fromJson(program.readAllStandardOutput());
            QCOMPARE(seen["verdict"].toString(), reasons == 0 ? "passed" : "failed");
            QCOMPARE(seen["reasons"].toArray().size(), reasons);
            QVERIFY2(agrees(seen, module.counts(), program.errors), program.errors.right(500));
            QVERIFY(program.errors.contains("Test duration reached"));
        }
    }

    void endsWithoutARun()
    {
        const QTemporaryDir folder;
        QVERIFY(QDir::setCurrent(folder.path()) && QFile::link("target", "link"));
        QFile full("full");
        QVERIFY(full.open(QIODevice::WriteOnly) && full.write("mine") == 4 && full.flush());
        ModuleThread module;
        for (const auto& [option, status, complaint] :
             {std::tuple("--rate=0", 2, "--rate: \"0\" is not allowed, only a whole number from 1"),
              {"--port=/nowhere", 3, "(/nowhere: No such file or directory)"},
              {"--port=/dev/null", 3, "Failed to configure port settings (/dev/null)"},
              {"--events=full", 5, "cannot write the event file full: "},
              {"--events=link", 5, "cannot write the event file link: "},
              {"--json=none/file", 5, "cannot write the report to none/file: "},
              {"--json=.", 5, "cannot write the report to .: "}}) {
            Program program({"--port", module.path(), "--events=new", "--quiet", option});
            QCOMPARE(program.statusOnceEnded(), status);
            QVERIFY2(program.says(complaint) && program.errors.count('\n') == 1, program.errors);
            QCOMPARE(QDir().entryList(QDir::Files | QDir::System).join(' '), "full link");
        }
        QCOMPARE(QFileInfo("full").size(), 4);
        QCOMPARE(module.counts().pingsReceived, quint64{0});
    }

    void endsInOrder()
    {
        using Event = std::function<void(ModuleThread&, Program&)>;
        const Event terminate = [](ModuleThread&, Program& program) {
            program.terminate();
            QVERIFY(program.says("Waiting for final replies..."));
            program.terminate();
        };
        const Event fillTheDisk = [](ModuleThread&, Program& program) {
            const rlimit fileSize{2000, 2000}; // room for a report
            QCOMPARE(prlimit(pid_t(program.processId()), RLIMIT_FSIZE, &fileSize, nullptr), 0);
            QVERIFY(program.says("the run goes on without it"));
            program.terminate();
        };
        for (const auto& [happen, status, verdict] :
             {std::tuple(terminate, 0, "passed"),
              {fillTheDisk, 5, "outputFailed"},
              {std::bind(&ModuleThread::unplug, std::placeholders::_1), 4, "lineLost"},
              {std::bind(&ModuleThread::stall, std::placeholders::_1), 4, "lineLost"}}) {
            const QTemporaryDir folder;
            QVERIFY(QDir::setCurrent(folder.path()));
            ModuleThread module;
            Program program({"--port", module.path(), "--rate=1000", "--min-size=124",
                             "--timeout=100", "--max-loss=100", "--events=rows", "--json=report"});
            QVERIFY(program.says("SUCCESS: Packet"));
            happen(module, program);
            QCOMPARE(program.statusOnceEnded(), status);
            QFile report("report"), events("rows");
            QVERIFY(report.open(QIODevice::ReadOnly) && events.open(QIODevice::ReadOnly));
            QCOMPARE(QJsonDocument::fromJson(report.readAll())["verdict"].toString(), verdict);
            const QList<QByteArray> rows = events.readAll().split('\n');
            QVERIFY(rows.value(1).endsWith(",Test started") && rows.last().isEmpty());
            QCOMPARE(rows.value(rows.size() - 2).contains("Test stopped. Sent: "), status != 5);
        }
    }
};

QTEST_GUILESS_MAIN(RunProgramTest)
#include "run_program_test.moc"
