#include "link/vnPortEnumerator.h"
#include "tests/support/ModuleThread.h"
#include "tests/support/WindowBench.h"

#include <filesystem>
#include <fstream>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

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

    void listsTheNewestPortsFirst()
    {
        const fs::path devices = fs::path(qgetenv("UMOCKDEV_DIR").constData()) / "dev";
        for (const char* name : {"tty.a", "ttysa", "attyS0", "tty_a", "TTYUSB0", "ttya", "tty0"})
            std::ofstream(devices / name) << "no device";
        fs::create_directory(devices / "ttySdirectory");
        const QString emptyModel = UDEV_VERSION < 257 ? "ttyVN0 = " : "ttyVN0"; // no longer kept
        const QStringList found{"ttyS7",    "ttyUSB0 = USB_Serial",       "tty.a",
                                emptyModel, "ttyACM3 = Módem %1 of 100%", "ttysa"};
        auto changed = fs::file_time_type::clock::now();
        for (const QString& description : found)
            fs::last_write_time(devices / description.section(' ', 0, 0).toStdString(),
                                changed -= 1min);
        const WindowBench bench;
        const auto* list = bench.named<QComboBox>("Port:");
        QStringList listed;
        for (const portInfo& port : vnPortEnumerator().enumeratePorts()) {
            QVERIFY(port.isAvailable && port.friendlyName == port.description);
            const int row = int(listed.size());
            QCOMPARE(list->itemText(row), port.description);
            QCOMPARE(list->itemData(row).toString(), port.portName);
            QCOMPARE(list->itemData(row, Qt::ToolTipRole).toString(), port.description);
            QCOMPARE(port.portName, "/dev/" + port.description.section(' ', 0, 0));
            listed += port.description;
        }
        QCOMPARE(listed, found);
        QCOMPARE(list->count(), 6);
        QCOMPARE(bench.status(), "Found 6 port(s)|3000");
        QCOMPARE(bench.log().size(), 9);
        QVERIFY(bench.log().constFirst().endsWith("] INFO: Refreshing port list..."));
        QCOMPARE(bench.log().filter("INFO: Port: /dev/ttyUSB0 - ttyUSB0 = USB_Serial").size(), 1);
        QVERIFY(bench.log().constLast().endsWith("] INFO: Enumerated 6 port(s)"));

        fs::create_symlink("/nowhere", devices / "ttySgone");
        QCOMPARE(vnPortEnumerator().enumeratePorts().size(), 7);
        for (const auto& device : fs::directory_iterator(devices))
            if (device.path().filename().string().starts_with("tty"))
                fs::remove(device); // for the rest of this program
        bench.button("Refresh")->click();
        QCOMPARE(bench.status(), "Scanning for ports...");
        QVERIFY(QTest::qWaitFor([&] { return list->itemText(0) == "(No ports detected)"; }));
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
    }

    void listsAThousandPortsDuringARun()
    {
        const WindowBench bench;
        const ModuleThread module;
        QVERIFY(bench.connectTo(module.path()));
        bench.startRun(200, 300);
        QVERIFY(QTest::qWaitFor([&] { return bench.received() > 0; }));
        for (int i = 1; i <= 1000; ++i)
            QVERIFY(QFile(qEnvironmentVariable("UMOCKDEV_DIR") + "/dev/ttyUSB" + QString::number(i))
                        .open(QIODevice::WriteOnly));
        bench.call("onRefreshPorts");
        const auto* ports = bench.named<QComboBox>("Port:");
        QCOMPARE(ports->count(), 1); // the engine looks, not the window
        QVERIFY(QTest::qWaitFor([&] { return ports->count() == 1000; }));
        QCOMPARE(ports->currentIndex(), 0);
        const int received = bench.received();
        QVERIFY(QTest::qWaitFor([&] { return bench.received() > received; }));
        QVERIFY(bench.stops());
    }
};

QTEST_MAIN(ConnectionTest)
#include "connection_test.moc"
