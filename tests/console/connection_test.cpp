#include "simulator/ModuleThread.h"
#include "tests/support/WindowBench.h"

/** From the list of ports to the connection. Runs on the devices of ports.umockdev. */
class ConnectionTest : public QObject
{
    Q_OBJECT

private slots:
    void looksForPortsOnceShown()
    {
        const auto* timers = QAbstractEventDispatcher::instance();
        const auto before = timers->children();
        const MainWindow window;
        QList<int> waitsMs;
        for (QObject* child : timers->children())
            for (const auto& timer : timers->registeredTimers(child))
                if (!before.contains(child))
                    waitsMs += timer.interval;
        QCOMPARE(waitsMs, QList<int>{100});
        QCOMPARE(window.statusBar()->currentMessage(), "Ready");
        QSignalSpy texts(window.statusBar(), &QStatusBar::messageChanged);
        QVERIFY(texts.wait());
        QCOMPARE(texts.constFirst().constFirst(), "Scanning for ports...");
    }

    void listsPortsAnew()
    {
        const QStringList ports{"ttyACM3 = Modem %1 of 100%", "ttyS7", "ttyUSB0 = USB_Serial",
                                "ttyVN0 = "};
        const WindowBench bench;
        const auto* list = bench.named<QComboBox>("Port:");
        QStringList listed;
        for (int i = 0; i < list->count(); ++i) {
            listed += list->itemText(i);
            QCOMPARE(list->itemData(i).toString(), "/dev/" + listed.constLast().section(' ', 0, 0));
            QCOMPARE(list->itemData(i, Qt::ToolTipRole).toString(), listed.constLast());
        }
        listed.sort(); // the order is that of their last change
        QCOMPARE(listed, ports);
        QCOMPARE(bench.status(), "Found 4 port(s)|3000");
        QCOMPARE(bench.log().size(), 7);
        QVERIFY(bench.log().constFirst().endsWith("] INFO: Refreshing port list..."));
        QCOMPARE(bench.log().filter("INFO: Port: /dev/ttyUSB0 - ttyUSB0 = USB_Serial").size(), 1);
        QVERIFY(bench.log().constLast().endsWith("] INFO: Enumerated 4 port(s)"));

        QDir devices(qEnvironmentVariable("UMOCKDEV_DIR") + "/dev");
        for (const QString& name : devices.entryList({"tty*"}, QDir::Files | QDir::System))
            QVERIFY(devices.remove(name)); // for the rest of this program
        bench.button("Refresh")->click();
        QCOMPARE(bench.status(), "Scanning for ports...");
        QTRY_COMPARE(list->itemText(0), "(No ports detected)");
        QCOMPARE(list->count(), 1);
        QCOMPARE(bench.status(), "No serial ports found|3000");
        QVERIFY(bench.log().constLast().endsWith("] WARNING: No serial ports detected"));
        QCOMPARE(
            bench.boxesOf([&] { bench.button("Connect")->click(); }),
            QStringList{"Warning|No Port Selected|Please select a serial port from the list."});
        QCOMPARE(bench.log().filter("Attempting").size(), 0);
    }

    void connectsAsChosen()
    {
        const WindowBench bench;
        const ModuleThread module;
        auto* rates = bench.named<QComboBox>("Baud Rate:");
        for (const char* rate : {"1200", "38400"}) {
            rates->setCurrentText(rate);
            QVERIFY(bench.connectTo(module.path()));
            QCOMPARE(bench.status(), "Connected to the module");
            QVERIFY(bench.logHas(": Connected to " + module.path() + " at " + rate + " baud"));
            bench.button("Disconnect")->click();
            QVERIFY(bench.logHas("INFO: Disconnected from port"));
            bench.logView()->clear();
        }
        const QString reason =
            "Connection failed: Failed to open port - may be in use or doesn't exist";
        bench.named<QComboBox>("Port:")->setItemData(0, "/dev/null/none");
        QCOMPARE(bench.boxesOf([&] { bench.button("Connect")->click(); }),
                 QStringList{"Critical|Error|" + reason});
        QTRY_COMPARE(bench.status(), "Disconnected");
        QVERIFY(bench.log().constLast().endsWith("] ERROR: " + reason));
    }

    void listsAThousandPortsDuringARun()
    {
        const WindowBench bench;
        const ModuleThread module;
        QVERIFY(bench.connectTo(module.path()));
        bench.startRun(200, 300);
        QTRY_VERIFY(bench.received() > 0);
        for (int i = 1; i <= 1000; ++i)
            QVERIFY(QFile(qEnvironmentVariable("UMOCKDEV_DIR") + "/dev/ttyUSB" + QString::number(i))
                        .open(QIODevice::WriteOnly));
        bench.call("onRefreshPorts");
        const auto* ports = bench.named<QComboBox>("Port:");
        QCOMPARE(ports->count(), 1); // the engine looks, not the window
        QTRY_COMPARE(ports->count(), 1000);
        QCOMPARE(ports->currentIndex(), 0);
        const int received = bench.received();
        QTRY_VERIFY(bench.received() > received);
        QVERIFY(bench.stops());
    }
};

QTEST_MAIN(ConnectionTest)
#include "connection_test.moc"
