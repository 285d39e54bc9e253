#include "simulator/ModuleThread.h"
#include "tests/support/WindowBench.h"

#include <QElapsedTimer>
#include <QTest>

namespace {

/** How long a run's end may take: the final wait, and 3 s for a line that takes nothing. */
constexpr int timeoutMs = 100;
constexpr int endMs = 2 * timeoutMs + 500 + 3000;

enum Trouble { None, Unplugged, Stalled };

bool isSummary(const QString& row)
{
    return row.contains("\"Test stopped. Sent: ");
}

int columnsOf(const QString& row)
{
    qsizetype quoted = 0;
    int columns = 1;
    for (const QChar c : row) {
        quoted += c == '"' ? 1 : 0;
        columns += c == ',' && quoted % 2 == 0 ? 1 : 0;
    }
    return columns;
}

} // namespace

/** A test from the first click to the last, with a module that works, goes away or hangs. */
class LifecycleTest : public QObject
{
    Q_OBJECT

private slots:
    void works() { stopsInTheMiddle(None); }
    void unplugged() { stopsInTheMiddle(Unplugged); }
    void stalled() { stopsInTheMiddle(Stalled); }

    void closesDuringARun_data()
    {
        QTest::addColumn<int>("trouble");
        QTest::newRow("works") << int(None);
        QTest::newRow("unplugged") << int(Unplugged);
        QTest::newRow("stalled") << int(Stalled);
    }

    void closesDuringARun()
    {
        QFETCH(int, trouble);
        WindowBench bench;
        ModuleThread module;
        startRun(bench, module, Trouble(trouble));
        QElapsedTimer clock;
        clock.start();
        bench.window.reset();
        QVERIFY(clock.elapsed() < endMs);
        checkEvents(bench);
    }

    void connectsAgain()
    {
        WindowBench bench;
        const ModuleThread module;
        for (int i = 0; i < 3; ++i) {
            QVERIFY(bench.connectTo(module.path()));
            QCOMPARE(bench.status(), "Connected to the module");
            QVERIFY(!bench.named<QComboBox>("Port:")->isEnabled());
            bench.button("Disconnect")->click();
            QTRY_VERIFY(bench.button("Connect") != nullptr);
            QCOMPARE(bench.status(), "Disconnected");
            QVERIFY(bench.named<QComboBox>("Port:")->isEnabled());
        }
    }

private:
    static void startRun(WindowBench& bench, ModuleThread& module, Trouble trouble)
    {
        QVERIFY(bench.connectTo(module.path()));
        bench.named<QSpinBox>("Packets/Second:")->setValue(1000);
        bench.named<QSpinBox>("Timeout:")->setValue(timeoutMs);
        bench.button("Start Test")->click();
        QVERIFY(!bench.button("Disconnect")->isEnabled());
        QVERIFY(!bench.button("Start Test")->isEnabled());
        QVERIFY(!bench.named<QSpinBox>("Timeout:")->isEnabled());
        QTRY_VERIFY(bench.figure("Packets Received:").toInt() > 0);
        if (trouble == Unplugged)
            module.unplug();
        if (trouble == Stalled)
            module.stall();
        if (trouble != None) // the line is full, or gone
            QTRY_VERIFY_WITH_TIMEOUT(
                bench.logView()->toPlainText().contains("ERROR: Failed to send packet"), 20000);
    }

    static void checkEvents(const WindowBench& bench)
    {
        const QStringList rows = WindowBench::rowsOf(bench.eventFiles().value(0));
        QCOMPARE(bench.eventFiles().size(), 1);
        for (const QString& row : rows)
            QCOMPARE(columnsOf(row), 6);
        QVERIFY(rows.value(1).endsWith(",,INFO,,,Test started"));
        QVERIFY2(isSummary(rows.constLast()), qPrintable(rows.constLast()));
    }

    static void stopsInTheMiddle(Trouble trouble)
    {
        WindowBench bench;
        ModuleThread module;
        startRun(bench, module, trouble);
        QElapsedTimer clock;
        clock.start();
        bench.button("Stop Test")->click();
        QVERIFY(bench.logShows("INFO: Test completed"));
        QVERIFY2(clock.elapsed() < endMs, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(bench.button("Start Test")->isEnabled());
        QCOMPARE(bench.figure("Packets Sent:").toInt(),
                 bench.figure("Packets Received:").toInt() +
                     bench.figure("Packets Lost:").section(' ', 0, 0).toInt());
        bench.button("Disconnect")->click();
        QVERIFY(bench.logShows("INFO: Disconnected from port"));
        QVERIFY(bench.button("Connect")->isEnabled());
        checkEvents(bench);
    }
};

QTEST_MAIN(LifecycleTest)
#include "lifecycle_test.moc"
