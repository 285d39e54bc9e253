#include "simulator/ModuleThread.h"
#include "tests/support/WindowBench.h"
#include "tests/support/processes.h"

#include <QElapsedTimer>
#include <QMessageBox>
#include <QTest>

#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

/** Returns when an engine that sends is held up in a write: the line was full at several looks. */
void waitUntilFull(const QString& linePath)
{
    pollfd line{::open(qPrintable(linePath), O_RDWR | O_NOCTTY), POLLOUT, 0};
    int looks = 0;
    QTRY_VERIFY(::poll(&line, 1, 0) == 0 && ++looks >= 3);
    ::close(line.fd);
}

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

/** Sessions from the first click to the last, with trouble at every point. */
class LifecycleTest : public QObject
{
    Q_OBJECT

private slots:
    static void initTestCase() { const WindowBench opensWhatStaysOpen; }
    void init() { useBefore = processUse(); }
    void cleanup()
    {
        leaveRoomOnTheDisk(RLIM_INFINITY);
        QTRY_VERIFY(processUse() <= useBefore); // a thread that has ended may linger a little
    }

    void endsInOrder_data()
    {
        QTest::addColumn<QString>("trouble");
        QTest::addColumn<QString>("moment");
        QTest::addColumn<bool>("closes");
        for (const char* moment : {"idle", "running", "waiting"}) {
            for (const char* trouble : {"working", "slow", "unplugged", "stalled"}) {
                QTest::addRow("%s %s", trouble, moment) << trouble << moment << false;
                QTest::addRow("%s %s, closed", trouble, moment) << trouble << moment << true;
            }
        }
    }

    void endsInOrder()
    {
        QFETCH(QString, trouble);
        QFETCH(QString, moment);
        QFETCH(bool, closes);
        const bool runs = moment != "idle";
        WindowBench bench;
        ModuleThread module({.baudRate = trouble == "slow" ? 19200 : 0});
        QVERIFY(bench.connectTo(module.path()));
        QCOMPARE(bench.status(), "Connected to the module");
        QVERIFY(!bench.named<QComboBox>("Port:")->isEnabled());
        if (runs) {
            bench.startRun(1000, 100);
            QVERIFY(!bench.button("Disconnect")->isEnabled() &&
                    !bench.button("Start Test")->isEnabled());
            QVERIFY(!bench.named<QSpinBox>("Timeout:")->isEnabled());
            QTRY_VERIFY(bench.figure("Packets Sent:").toInt() > 0);
        }
        if (moment == "waiting") {
            bench.button("Stop Test")->click();
            QVERIFY(bench.logHas("Waiting for final replies..."));
        }
        if (trouble == "unplugged" || trouble == "stalled")
            trouble == "stalled" ? module.stall() : module.unplug();
        if (moment == "running" && (trouble == "stalled" || trouble == "slow"))
            waitUntilFull(module.path());

        QElapsedTimer clock;
        clock.start();
        if (closes)
            bench.window.reset();
        QVERIFY(closes || !runs || bench.stops());
        // The final wait, and ample time for a line that takes nothing on a busy machine.
        QVERIFY2(clock.elapsed() < 2 * 100 + 500 + 9000,
                 qPrintable(QString::number(clock.elapsed())));
        const QStringList rows = WindowBench::rowsOf(bench.eventFiles().value(0));
        QCOMPARE(rows.value(1).endsWith(",,INFO,,,Test started"), runs);
        QCOMPARE(rows.value(rows.size() - 1).contains("\"Test stopped. Sent: "), runs);
        QCOMPARE(rows.filter("Waiting for final replies...").size(), runs ? 1 : 0);
        if (closes)
            return;
        bench.button("Disconnect")->click();
        QVERIFY(bench.logHas("INFO: Disconnected from port"));
        QVERIFY(bench.button("Connect") && bench.named<QComboBox>("Port:")->isEnabled());
        QCOMPARE(bench.status(), "Disconnected");
        QVERIFY(trouble != "working" || bench.connectTo(module.path()));
    }

    void keepsTheFocusWithTheRun()
    {
        const WindowBench bench;
        const ModuleThread module;
        const auto pressFocused = [&] {
            QTest::keyClick(bench.window->focusWidget(), Qt::Key_Space);
            return bench.window->focusWidget();
        };
        QVERIFY(bench.connectTo(module.path()));
        bench.button("Start Test")->setFocus();
        QCOMPARE(pressFocused(), bench.button("Stop Test"));
        QCOMPARE(pressFocused(), bench.button("Stop Test"));
        QVERIFY(bench.logHas("INFO: Test completed"));
        QCOMPARE(bench.window->focusWidget(), bench.button("Start Test"));
        bench.button("Disconnect")->click();
        QTRY_COMPARE(bench.window->focusWidget(), bench.button("Connect"));
    }

    void recoversFromARefusedStart()
    {
        for (const bool disconnecting : {true, false}) {
            WindowBench bench;
            const ModuleThread module;
            QVERIFY(!disconnecting || bench.connectTo(module.path()));
            const auto start = [&] {
                if (disconnecting)
                    bench.button("Disconnect")->click();
                QMetaObject::invokeMethod(bench.window.get(), "onStartTest");
                QVERIFY(bench.button("Stop Test")->isEnabled());
            };
            WindowBench::withDialog(start, [&](QWidget* dialog) {
                QCOMPARE(qobject_cast<QMessageBox*>(dialog)->text(),
                         "Cannot start test: Not connected to a port");
                QVERIFY(bench.named<QSpinBox>("Timeout:")->isEnabled());
            });
            QVERIFY(!bench.button("Start Test")->isEnabled() &&
                    !bench.button("Stop Test")->isEnabled());
            const QString file = bench.eventFiles().value(0);
            const QStringList rows = WindowBench::rowsOf(file);
            QVERIFY(bench.connectTo(module.path())); // brings lines that belong to no run
            QCOMPARE(WindowBench::rowsOf(file), rows);
            QVERIFY(bench.button("Start Test")->isEnabled());
        }
    }

    void runsOnWithoutItsEventFile()
    {
        for (const QString& trouble :
             std::initializer_list<QString>{"full", "lost before", "lost"}) {
            WindowBench bench;
            ModuleThread module;
            QVERIFY(bench.connectTo(module.path()));
            QDir disk;
            QVERIFY(trouble != "lost before" || disk.removeRecursively());
            bench.startRun(200, 500);
            QCOMPARE(bench.status().startsWith("Logging to: "), trouble != "lost before");
            if (trouble == "full")
                leaveRoomOnTheDisk(200);
            QVERIFY(trouble != "lost" || disk.removeRecursively());
            QTRY_VERIFY(bench.received() > 10);
            leaveRoomOnTheDisk(RLIM_INFINITY); // what did not fit follows
            QVERIFY(bench.stops());
            QCOMPARE(quint64(bench.received()), module.counts().pingsReceived);
            for (const char* line : {"INFO: Test started", "Packet 9: ", "Test stopped. Sent: "})
                QCOMPARE(bench.log().filter(line).size(), line[0] == 'I' ? 2 : 1);
            const QStringList rows = WindowBench::rowsOf(bench.eventFiles().value(0));
            QCOMPARE(rows.filter("Test st").size(), trouble == "full" ? 2 : 0);
        }
    }

private:
    std::pair<qsizetype, qsizetype> useBefore;
};

QTEST_MAIN(LifecycleTest)
#include "lifecycle_test.moc"
