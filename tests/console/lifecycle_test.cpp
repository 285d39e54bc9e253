#include "simulator/ModuleThread.h"
#include "tests/support/WindowBench.h"

#include <QElapsedTimer>
#include <QTest>

/** A test from the first click to the last, with a module that works, goes away or hangs. */
class LifecycleTest : public QObject
{
    Q_OBJECT

private slots:
    void endsARun_data()
    {
        QTest::addColumn<QString>("trouble");
        QTest::addColumn<bool>("closes");
        for (const char* trouble : {"works", "unplugged", "stalled"}) {
            QTest::addRow("%s", trouble) << trouble << false;
            QTest::addRow("%s, window closed", trouble) << trouble << true;
        }
    }

    void endsARun()
    {
        QFETCH(QString, trouble);
        QFETCH(bool, closes);
        WindowBench bench;
        ModuleThread module;
        QVERIFY(bench.connectTo(module.path()));
        bench.named<QSpinBox>("Packets/Second:")->setValue(1000);
        bench.named<QSpinBox>("Timeout:")->setValue(100);
        bench.button("Start Test")->click();
        for (const char* name : {"Disconnect", "Start Test"})
            QVERIFY(!bench.button(name)->isEnabled());
        QVERIFY(!bench.named<QSpinBox>("Timeout:")->isEnabled());
        QTRY_VERIFY(bench.figure("Packets Received:").toInt() > 0);
        if (trouble != "works") { // until the line is gone, or full
            trouble == "stalled" ? module.stall() : module.unplug();
            QVERIFY(bench.logHas("ERROR: Failed to send packet"));
        }

        QElapsedTimer clock;
        clock.start();
        closes ? bench.window.reset() : stopAndDisconnect(bench);
        // The final wait, and some time for a line that takes nothing.
        QVERIFY2(clock.elapsed() < 2 * 100 + 500 + 3000,
                 qPrintable(QString::number(clock.elapsed())));
        const QStringList rows = WindowBench::rowsOf(bench.eventFiles().value(0));
        QVERIFY(rows.value(1).endsWith(",,INFO,,,Test started"));
        QVERIFY2(rows.constLast().contains("\"Test stopped. Sent: "), qPrintable(rows.constLast()));
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
    static void stopAndDisconnect(const WindowBench& bench)
    {
        bench.button("Stop Test")->click();
        QVERIFY(bench.logHas("INFO: Test completed"));
        QVERIFY(bench.button("Start Test")->isEnabled());
        QCOMPARE(bench.figure("Packets Sent:").toInt(),
                 bench.figure("Packets Received:").toInt() +
                     bench.figure("Packets Lost:").section(' ', 0, 0).toInt());
        bench.button("Disconnect")->click();
        QVERIFY(bench.logHas("INFO: Disconnected from port"));
        QVERIFY(bench.button("Connect")->isEnabled());
    }
};

QTEST_MAIN(LifecycleTest)
#include "lifecycle_test.moc"
