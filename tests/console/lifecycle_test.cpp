#include "tests/support/ModuleThread.h"
#include "tests/support/WindowBench.h"
#include "tests/support/processes.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

/** Returns when an engine that sends is held up in a write: the line was full at several looks. */
void waitUntilFull(const QString& linePath)
{
    pollfd line{::open(qPrintable(linePath), O_RDWR | O_NOCTTY), POLLOUT, 0};
    int looks = 0;
    QVERIFY(QTest::qWaitFor([&] { return ::poll(&line, 1, 0) == 0 && ++looks >= 5; }, 30000));
    ::close(line.fd);
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
        // A thread that has ended may linger a little.
        QVERIFY(QTest::qWaitFor([&] { return processUse() <= useBefore; }));
    }

    static void endsInOrder_data() // CMakeLists.txt has each trouble in an entry of its own
    {
        QTest::addColumn<QString>("trouble");
        for (const char* trouble : {"working", "slow", "unplugged", "stalled"})
            for (const char* moment :
                 {"idle", "running", "running, closed", "waiting", "waiting, closed"})
                QTest::newRow(QByteArray(trouble) + ' ' + moment) << trouble;
    }

    static void endsInOrder()
    {
        QFETCH(QString, trouble);
        const QString moment = QString(QTest::currentDataTag()).section(' ', 1);
        const bool closes = moment.endsWith("closed");
        const bool runs = moment != "idle";
        WindowBench bench;
        ModuleThread module({.baudRate = trouble == "slow" ? 19200 : 0});
        QVERIFY(bench.connectTo(module.path()));
        if (runs) {
            bench.startRun(1000, 50);
            QVERIFY(QTest::qWaitFor([&] { return bench.figure("Packets Sent:").toInt() > 0; }));
        }
        if (moment.startsWith("waiting")) {
            bench.button("Stop Test")->click();
            QVERIFY(bench.logHas("Waiting for final replies..."));
        }
        if (trouble == "unplugged" || trouble == "stalled")
            trouble == "stalled" ? module.stall() : module.unplug();
        if (moment.startsWith("running") && (trouble == "stalled" || trouble == "slow"))
            waitUntilFull(module.path());

        QElapsedTimer clock;
        clock.start();
        if (closes)
            bench.window.reset();
        QVERIFY(closes || !runs || bench.stops());
        // The final wait, and ample time for a line that takes nothing on a busy machine.
        QVERIFY2(clock.elapsed() < 2 * 50 + 500 + 9000, QByteArray::number(clock.elapsed()));
        const QStringList rows = bench.eventRows();
        QCOMPARE(rows.value(1).endsWith(",,INFO,,,Test started"), runs);
        QCOMPARE(rows.value(rows.size() - 1).contains("\"Test stopped. Sent: "), runs);
        QCOMPARE(rows.filter("Waiting for final replies...").size(), runs ? 1 : 0);
        if (closes)
            return;
        bench.button("Disconnect")->click();
        QVERIFY(bench.logHas("INFO: Disconnected from port"));
        QCOMPARE(bench.status(), "Disconnected");
        QVERIFY(trouble != "working" || bench.connectTo(module.path()));
    }

    static void recoversFromARefusedStart()
    {
        const WindowBench bench;
        const ModuleThread module;
        const auto* timeout = bench.named<QSpinBox>("Timeout:");
        QVERIFY(bench.connectTo(module.path()));
        const auto start = [&] {
            bench.button("Disconnect")->click();
            bench.call("onStartTest");
            QVERIFY(bench.button("Stop Test")->isEnabled());
        };
        const auto look = [&](QWidget*) { QVERIFY(timeout->isEnabled()); };
        QCOMPARE(bench.boxesOf(start, look),
                 QStringList{"Critical|Error|Cannot start test: Not connected to a port"});
        QCOMPARE(bench.log().filter("] ERROR: Cannot start test: Not connected to a port").size(),
                 1);
        QVERIFY(!bench.button("Stop Test")->isEnabled());
        const QStringList rows = bench.eventRows();
        bench.logView()->clear();
        QVERIFY(bench.connectTo(module.path())); // brings lines that belong to no run
        QCOMPARE(bench.eventRows(), rows);
        QVERIFY(bench.button("Start Test")->isEnabled());
    }

private:
    std::pair<qsizetype, qsizetype> useBefore;
};

QTEST_MAIN(LifecycleTest)
#include "lifecycle_test.moc"
