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
        const QDateTime before = QDateTime::currentDateTime().addMSecs(-1000); // names have no ms
        bench.call("onStartTest");
        const QString name = bench.eventFiles().value(0);
        QCOMPARE(bench.status(), "Logging to: " + name);
        const auto named = QDateTime::fromString(name, "'PacketTest_'yyyyMMdd_HHmmss'.csv'");
        QVERIFY(named > before && named <= QDateTime::currentDateTime());
        QCOMPARE(WindowBench::rowsOf(name), QStringList{columns.join(',')});
        int rows = 1;
        for (const auto& [type, message, expected] :
             {std::tuple("SUCCESS", "Packet 7: 12ms", ",7,SUCCESS,,12,Packet 7: 12ms"),
              {"INFO", "Sent packet 100 (20 bytes)", ",100,INFO,20,,Sent packet 100 (20 bytes)"},
              {"ERROR", "\u00fc, \"%1\"", ",,ERROR,,,\"\u00fc, \"\"%1\"\"\""}}) {
            bench.say(type, QString::fromUtf8(message));
            const QStringList written = WindowBench::rowsOf(name); // each row at once
            QCOMPARE(written.size(), ++rows);
            QCOMPARE(written.constLast().mid(23), QString::fromUtf8(expected));
            const auto time =
                QDateTime::fromString(written.constLast().left(23), "yyyy-MM-dd HH:mm:ss.zzz");
            QVERIFY(time > before && time <= QDateTime::currentDateTime());
        }
        bench.call("onTestCompleted"); // whose line is the window's own
        bench.say("INFO", "too late");
        QCOMPARE(WindowBench::rowsOf(name).size(), rows);
    }

    void keepsFilesOfTheSameSecondApart()
    {
        for (const bool byLinks : {false, true}) {
            const WindowBench bench;
            const QDateTime now = QDateTime::currentDateTime();
            for (int i = 0; i < 60; ++i) { // the names of the next minute are taken
                QFile taken(now.addSecs(i).toString("'PacketTest_'yyyyMMdd_HHmmss'.csv'"));
                if (byLinks)
                    QVERIFY(QFile::link("nowhere", taken.fileName()));
                else
                    QVERIFY(taken.open(QIODevice::WriteOnly) && taken.write("earlier\n") > 0);
            }
            for (int run = 0; run < 3; ++run) {
                bench.call("onStartTest");
                const QString name = bench.status().section("Logging to: ", 1);
                QVERIFY(name.endsWith("_2.csv") || (run > 0 && name.endsWith("_3.csv")) ||
                        (run > 1 && name.endsWith("_4.csv"))); // in a new second from 2 again
                bench.say("INFO", name);
                bench.call("onTestCompleted");
                QVERIFY(WindowBench::rowsOf(name).value(1).endsWith(name));
            }
            QStringList firstRows;
            for (const QString& file : bench.eventFiles())
                firstRows += WindowBench::rowsOf(file).constFirst();
            QCOMPARE(firstRows.size(), byLinks ? 3 : 63);
            QCOMPARE(firstRows.count("earlier"), byLinks ? 0 : 60);
            QVERIFY(!QFile::exists("nowhere"));
        }
    }

    void runsOnWithoutIt()
    {
        for (const QString trouble : {"full", "lost before", "lost"}) {
            const WindowBench bench;
            const auto filesBefore = processUse().first;
            QDir disk;
            QVERIFY(trouble != "lost before" || disk.removeRecursively());
            bench.call("onStartTest");
            QCOMPARE(bench.status().startsWith("Logging to: "), trouble != "lost before");
            QVERIFY(bench.button("Stop Test")->isEnabled());
            QVERIFY(trouble != "lost" || disk.removeRecursively());
            leaveRoomOnTheDisk(trouble == "full" ? 200 : RLIM_INFINITY);
            for (int i = 0; i < 10; ++i)
                bench.say("INFO", "to the log at least");
            QCOMPARE(bench.log().filter("to the log").size(), 10);
            leaveRoomOnTheDisk(RLIM_INFINITY);
            bench.say("INFO", "last"); // and what did not fit before it
            QCOMPARE(WindowBench::rowsOf(bench.eventFiles().value(0)).size(),
                     trouble == "full" ? 12 : 0);
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
        QVERIFY(bench.logHas("INFO: Test started: 200 pps, 30-33 bytes, 60ms timeout"));
        QVERIFY(bench.logHas(": Test completed"));           // by itself
        QVERIFY(bench.figure("Packets Sent:").toInt() > 20); // at the default rate: 10
        QCOMPARE(bench.figure("Packets Lost:"), bench.figure("Packets Sent:") + " (100.0%)");
        const QStringList rows = WindowBench::rowsOf(bench.eventFiles().value(0));
        static const QRegularExpression sent(
            ",(\\d*),INFO,3[0-3],,Sent packet \\1 \\(3[0-3] bytes\\)$");
        QCOMPARE(rows.filter(sent).size(), rows.filter("Sent packet").size());
        QVERIFY(rows.filter(sent).size() >= 10);
        QVERIFY(rows.filter(" timeout after 60ms").size() > 0);
    }

    void warnsOfWrongSizes()
    {
        const WindowBench bench;
        const auto start = [&] { bench.call("onStartTest"); };
        bench.named<QSpinBox>("Min Data Size:")->setValue(51);
        bench.named<QSpinBox>("Max Data Size:")->setValue(50);
        QCOMPARE(WindowBench::boxOf(start), "Warning|Invalid Configuration|Min data size cannot be "
                                            "greater than max data size.");
        QVERIFY(bench.eventFiles().isEmpty() && !bench.button("Stop Test")->isEnabled());
        bench.named<QSpinBox>("Max Data Size:")->setValue(51);
        start();
        QVERIFY(bench.button("Stop Test")->isEnabled());
    }
};

QTEST_MAIN(EventFileTest)
#include "event_file_test.moc"
