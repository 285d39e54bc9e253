#include "simulator/ModuleThread.h"
#include "tests/support/WindowBench.h"
#include "tests/support/processes.h"
#include "tests/support/readme.h"

#include <QDateTime>
#include <QTest>

#include <csignal>

#include <sys/resource.h>

namespace {

/** No file of this process grows past `bytes` any more, as on a full disk. */
void leaveRoomOnTheDisk(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit room{};
    getrlimit(RLIMIT_FSIZE, &room);
    room.rlim_cur = std::min(bytes, room.rlim_max);
    setrlimit(RLIMIT_FSIZE, &room);
}

} // namespace

/** The file that each run leaves. Where no module is needed, no run ever reaches the engine. */
class EventFileTest : public QObject
{
    Q_OBJECT

private slots:
    static void cleanup() { leaveRoomOnTheDisk(RLIM_INFINITY); }

    void keepsWhatTheEngineSays()
    {
        const WindowBench bench;
        QStringList columns;
        for (const QString& row : readmeTable("| Column | Contents |"))
            columns += row.section('|', 1, 1).trimmed();
        bench.say("INFO", "too early");
        const QDateTime before = QDateTime::currentDateTime();
        bench.call("onStartTest");
        const QString name = bench.eventFiles().value(0);
        QCOMPARE(bench.status() + QString::number(bench.statusMs()), "Logging to: " + name + '0');
        const auto named = QDateTime::fromString(name, "'PacketTest_'yyyyMMdd_HHmmss'.csv'");
        QVERIFY(named >= before.addSecs(-1) && named <= QDateTime::currentDateTime());
        QCOMPARE(WindowBench::rowsOf(name), QStringList{columns.join(',')});

        int rows = 1;
        for (const auto& [type, message, expected] :
             {std::tuple("SUCCESS", "Packet 7: 12ms", "7,SUCCESS,,12,Packet 7: 12ms"),
              {"INFO", "Sent packet 100 (20 bytes)", "100,INFO,20,,Sent packet 100 (20 bytes)"},
              {"ERROR", "\u00fc, \"%1\"", ",ERROR,,,\"\u00fc, \"\"%1\"\"\""}}) {
            bench.say(type, QString::fromUtf8(message));
            QStringList written = WindowBench::rowsOf(name); // each row at once
            QCOMPARE(written.size(), ++rows);
            QCOMPARE(written.constLast().mid(23), ',' + QString::fromUtf8(expected));
            const auto time =
                QDateTime::fromString(written.constLast().left(23), "yyyy-MM-dd HH:mm:ss.zzz");
            QVERIFY(time >= before && time <= QDateTime::currentDateTime());
        }
        bench.button("Clear Stats")->click(); // lines of the window are not the engine's
        bench.call("onTestCompleted");
        bench.say("INFO", "too late");
        QCOMPARE(WindowBench::rowsOf(name).size(), rows);
    }

    void keepsFilesOfTheSameSecondApart()
    {
        const WindowBench bench;
        // Two names of every second of the next minute are taken, one by a link to nowhere.
        const QDateTime now = QDateTime::currentDateTime();
        for (int i = 0; i < 60; ++i) {
            const QString stem = "PacketTest_" + now.addSecs(i).toString("yyyyMMdd_HHmmss");
            QFile taken(stem + ".csv");
            QVERIFY(taken.open(QIODevice::WriteOnly) && taken.write("an earlier run\n") > 0);
            QVERIFY(QFile::link("nowhere", stem + "_2.csv"));
        }
        for (const char* ending : {"_3.csv", "_4.csv"}) {
            bench.call("onStartTest");
            const QString name = bench.status().section("Logging to: ", 1);
            QVERIFY(name.endsWith(ending) || name.endsWith("_3.csv")); // a second may have passed
            QCOMPARE(WindowBench::rowsOf(name).size(), 1);
            bench.say("INFO", name);
            bench.call("onTestCompleted");
            QVERIFY(WindowBench::rowsOf(name).constLast().endsWith(name));
        }
        QCOMPARE(bench.eventFiles().size(), 62);
        int earlier = 0;
        for (const QString& file : bench.eventFiles())
            earlier += WindowBench::rowsOf(file) == QStringList{"an earlier run"} ? 1 : 0;
        QCOMPARE(earlier, 60);
        QVERIFY(!QFile::exists("nowhere"));
    }

    void runsOnWithoutIt()
    {
        for (const QString& trouble :
             std::initializer_list<QString>{"full", "lost before", "lost"}) {
            const WindowBench bench;
            QDir disk;
            QVERIFY(trouble != "lost before" || disk.removeRecursively());
            const auto filesBefore = processUse().first;
            bench.call("onStartTest");
            QCOMPARE(bench.status().startsWith("Logging to: "), trouble != "lost before");
            QVERIFY(bench.button("Stop Test")->isEnabled());
            if (trouble == "full")
                leaveRoomOnTheDisk(200);
            QVERIFY(trouble != "lost" || disk.removeRecursively());
            for (int i = 0; i < 10; ++i)
                bench.say("INFO", QString::number(i));
            QCOMPARE(bench.log().filter(QRegularExpression("INFO: \\d$")).size(), 10);
            leaveRoomOnTheDisk(RLIM_INFINITY);
            bench.say("INFO", "last"); // and what did not fit before it
            const QStringList rows = WindowBench::rowsOf(bench.eventFiles().value(0));
            QCOMPARE(rows.size(), trouble == "full" ? 12 : 0);
            bench.call("onTestCompleted");
            QCOMPARE(processUse().first, filesBefore);
        }
    }

    void recordsTheRunAsSet()
    {
        const WindowBench bench;
        const ModuleThread module({.drop = 1});
        QVERIFY(bench.connectTo(module.path()));
        bench.named<QSpinBox>("Min Data Size:")->setValue(30);
        bench.named<QSpinBox>("Max Data Size:")->setValue(33);
        bench.named<QSpinBox>("Duration:")->setValue(1);
        bench.startRun(200, 60);
        QVERIFY(bench.logHas(": Test completed")); // by itself
        QCOMPARE(
            bench.log().filter("INFO: Test started: 200 pps, 30-33 bytes, 60ms timeout").size(), 1);
        QVERIFY(bench.figure("Packets Sent:").toInt() > 20); // at the default rate: 10
        QCOMPARE(bench.figure("Packets Lost:"), bench.figure("Packets Sent:") + " (100.0%)");
        const QStringList rows = WindowBench::rowsOf(bench.eventFiles().value(0));
        QVERIFY(rows.value(1).endsWith(",,INFO,,,Test started"));
        QVERIFY(rows.constLast().contains("\"Test stopped. Sent: "));
        for (const QString& row : rows) {
            const QString size = row.section(',', 3, 3);
            QVERIFY(size.isEmpty() || size == "DataSize" ||
                    (size.toInt() >= 30 && size.toInt() <= 33));
            QVERIFY(!row.contains(" timeout after ") || row.endsWith(" timeout after 60ms"));
        }
        QCOMPARE(rows.filter(" timeout after ").size(),
                 rows.filter(",TIMEOUT,").size() - rows.filter(" lost (final").size());
        QVERIFY(rows.filter(" timeout after ").size() > 0);
    }

    void warnsOfWrongSizes()
    {
        const WindowBench bench;
        const auto start = [&] { bench.call("onStartTest"); };
        bench.named<QSpinBox>("Min Data Size:")->setValue(51);
        bench.named<QSpinBox>("Max Data Size:")->setValue(50);
        QCOMPARE(WindowBench::boxOf(start),
                 "Warning|Invalid Configuration|Min data size cannot be greater than max data "
                 "size.");
        QCOMPARE(bench.eventFiles(), QStringList());
        QVERIFY(!bench.button("Stop Test")->isEnabled());
        bench.named<QSpinBox>("Max Data Size:")->setValue(51);
        start();
        QCOMPARE(bench.eventFiles().size(), 1);
        QVERIFY(bench.button("Stop Test")->isEnabled());
    }
};

QTEST_MAIN(EventFileTest)
#include "event_file_test.moc"
