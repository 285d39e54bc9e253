#include "simulator/ModuleThread.h"
#include "tests/support/processes.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

/** The built program against the simulated module. */
class RunProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void listsPorts()
    {
        Program program(UMOCKDEV_RUN, {"--device", PORT_DESCRIPTION, "--", RUN_PROGRAM, "--list"});
        QCOMPARE(program.status(), 0);
        QVERIFY(program.readAllStandardOutput().contains("/dev/ttyUSB0\tttyUSB0 = USB_Serial\n"));
    }

    void checksPorts()
    {
        const ModuleThread module; // its other end is open, and that is nobody else's use
        const int line = ::open(qPrintable(module.path()), O_RDWR | O_NOCTTY | O_CLOEXEC);
        const int device = ::open("/dev/full", O_RDONLY | O_CLOEXEC);
        // The name of a program that probes ports, for all that others can see.
        QCOMPARE(::prctl(PR_SET_NAME, "ModemManager"), 0);
        const QByteArray us = "ModemManager (process " + QByteArray::number(::getpid()) + ")";
        const QByteArray usbFaults =
            us + " is running, which may open the port and send to it\n"
                 "the adapter holds received bytes back for up to 16 ms; to have it 1 ms: echo 1 | "
                 "sudo tee /sys/devices/usb1/1-1/1-1:1.0/ttyUSB0/latency_timer\n"
                 "the system may put the adapter to sleep; to prevent that: echo on | sudo tee "
                 "/sys/devices/usb1/1-1/power/control\n";
        const auto check = [&us](const QString& path) {
            Program program(UMOCKDEV_RUN, {"--device", PORT_DESCRIPTION, "--", RUN_PROGRAM,
                                           "--check", "--port", path});
            const int status = program.status();
            const QList<QByteArray> lines = program.readAllStandardOutput().split('\n');
            QByteArray faults;
            for (const QByteArray& told : lines) { // what this machine has to say of others aside
                if (!told.contains("(process ") || told.contains(us))
                    faults += QByteArray(told).replace(path.toLocal8Bit() + ": ", "") + '\n';
            }
            faults.chop(1);
            return status == (lines.size() > 1 ? 1 : 0) ? faults : QByteArray::number(status);
        };
        QCOMPARE(check("/dev/ttyUSB0"), usbFaults);
        QCOMPARE(check("/dev/ttyACM3"), QByteArray()); // hidden from that program by a rule
        QCOMPARE(check("/nowhere"), "No such file or directory\n");
        QCOMPARE(check(module.path()), QByteArray());
        QCOMPARE(check("/dev/full"),
                 "no usable serial line: Inappropriate ioctl for device\nin use by " + us + '\n');
        for (const auto& [path, descriptor] :
             {std::pair(module.path(), line), {QString("/dev/full"), device}}) {
            QCOMPARE(::flock(descriptor, LOCK_EX), 0);
            QCOMPARE(check(path), "in use by " + us + '\n');
            ::close(descriptor);
        }
    }

    void tellsOfTheAdapter()
    {
        Program program(UMOCKDEV_RUN,
                        {"--device", PORT_DESCRIPTION, "--", RUN_PROGRAM, "--port=/dev/ttyUSB0",
                         "--timeout=50", "--duration=1", "--tag=cable=7", "--json=-"});
        QCOMPARE(program.status(), 1);
        const auto seen = QJsonDocument::fromJson(program.readAllStandardOutput());
        const QJsonObject adapter{{"driver", "test_sio"},    {"vendorId", "1d6b"},
                                  {"productId", "0104"},     {"serialNumber", {}},
                                  {"product", "USB Serial"}, {"latencyTimerMs", 16}};
        QCOMPARE(seen["adapter"].toObject(), adapter);
        QCOMPARE(seen["host"]["name"].toString(), QSysInfo::machineHostName());
        QCOMPARE(seen["tags"].toObject(), (QJsonObject{{"cable", "7"}}));
        QVERIFY(seen["lineErrors"].isNull()); // it is a pseudo-terminal after all
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
              {"--port=/dev/null", 3,
               "port settings (/dev/null: no usable serial line: Inappropriate ioctl"},
              {"--events=full", 5, "cannot write the event file full: "},
              {"--events=link", 5, "cannot write the event file link: "},
              {"--json=none/file", 5, "cannot write the report to none/file: "},
              {"--json=.", 5, "cannot write the report to .: "}}) {
            Program program(RUN_PROGRAM,
                            {"--port", module.path(), "--events=new", "--quiet", option});
            QCOMPARE(program.status(), status);
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
            const rlimit fileSize{20000, 20000}; // room for a report
            QCOMPARE(prlimit(pid_t(program.processId()), RLIMIT_FSIZE, &fileSize, nullptr), 0);
            QVERIFY(program.says("the run goes on without it"));
            program.terminate();
        };
        const Event loseTheDisk = [](ModuleThread&, Program& program) {
            QVERIFY(QDir().removeRecursively());
            program.terminate();
        };
        for (const auto& [happen, status, verdict] :
             {std::tuple(terminate, 0, "passed"),
              {fillTheDisk, 5, "outputFailed"},
              {loseTheDisk, 5, ""}, // nor is there a report
              {std::bind(&ModuleThread::stall, std::placeholders::_1), 4, "lineLost"}}) {
            const QTemporaryDir folder;
            QVERIFY(QDir::setCurrent(folder.path()));
            ModuleThread module({.report = 1}); // a row each
            Program program(RUN_PROGRAM,
                            {"--port", module.path(), "--rate=1000", "--min-size=124",
                             "--timeout=100", "--max-loss=100", "--events=rows", "--json=report"});
            QVERIFY(program.says("SUCCESS: Packet"));
            happen(module, program);
            QCOMPARE(program.status(), status);
            QCOMPARE(program.errors.count("packetbrask-run: cannot write"), status == 5 ? 1 : 0);
            QFile report("report"), events("rows");
            if (!report.open(QIODevice::ReadOnly) && *verdict == '\0')
                continue;
            QVERIFY(events.open(QIODevice::ReadOnly));
            QCOMPARE(QJsonDocument::fromJson(report.readAll())["verdict"].toString(), verdict);
            const QList<QByteArray> rows = events.readAll().split('\n');
            QVERIFY(rows.value(1).endsWith(",Test started") && rows.last().isEmpty());
            QCOMPARE(rows.value(rows.size() - 2).contains("Test stopped. Sent: "), status != 5);
        }
    }
};

QTEST_GUILESS_MAIN(RunProgramTest)
#include "run_program_test.moc"
