#include "simulator/ModuleThread.h"
#include "tests/support/WindowBench.h"

#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

namespace {

/** Of the test bed; ports come and go here. */
QDir devices()
{
    return qEnvironmentVariable("UMOCKDEV_DIR") + "/dev";
}

bool plugIn(const QString& name)
{
    return QFile(devices().filePath(name)).open(QIODevice::WriteOnly);
}

QStringList listed(const WindowBench& bench)
{
    const auto* ports = bench.named<QComboBox>("Port:");
    QStringList texts;
    for (int i = 0; i < ports->count(); ++i) {
        texts += ports->itemData(i).toString() + ": " + ports->itemText(i);
        const bool isPort = !ports->itemData(i).toString().isEmpty();
        if (ports->itemData(i, Qt::ToolTipRole).toString() != (isPort ? ports->itemText(i) : ""))
            texts += "with a wrong tip";
    }
    texts.sort(); // the order is that of their last change
    return texts;
}

} // namespace

/** From the list of ports to the connection. Runs on the devices of ports.umockdev. */
class ConnectionTest : public QObject
{
    Q_OBJECT

private slots:
    void looksForPortsOnceShown()
    {
        const MainWindow window;
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(window.statusBar()->currentMessage(), "Ready");
        QVERIFY(window.statusBar()->findChild<QTimer*>() == nullptr); // stays
        for (const QComboBox* box : window.findChildren<QComboBox*>())
            QCOMPARE(box->currentText(), box->count() == 0 ? "" : "115200");
        const QSignalSpy texts(window.statusBar(), &QStatusBar::messageChanged);
        QTRY_VERIFY(!texts.isEmpty());
        QVERIFY(clock.elapsed() >= 90); // a coarse timer's 100 ms
        QCOMPARE(texts.constFirst().constFirst(), "Scanning for ports...");
    }

    void listsPortsAnew()
    {
        QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, true);
        const QByteArray asks = "onRefreshPorts: Requesting port list from worker...";
        const QByteArray hears = "MAINWINDOW: Received portsEnumerated signal with ";
        for (int times = 0; times < 2; ++times)
            QTest::ignoreMessage(QtDebugMsg, asks);
        QTest::ignoreMessage(QtDebugMsg, hears + "4 ports");
        QTest::ignoreMessage(QtDebugMsg, hears + "0 ports");
        QTest::ignoreMessage(QtDebugMsg, "  Added port: \"ttyS7\" path: \"/dev/ttyS7\"");
        for (const QByteArray name : {"USB0 = USB_Serial", "ACM3 = Modem %1 of 100%", "VN0 = "})
            QTest::ignoreMessage(QtDebugMsg, "  Added port: \"tty" + name + "\" path: \"/dev/tty" +
                                                 name.left(name.indexOf(' ')) + '"');
        const WindowBench bench;
        const QStringList expected{"/dev/ttyACM3: ttyACM3 = Modem %1 of 100%", "/dev/ttyS7: ttyS7",
                                   "/dev/ttyUSB0: ttyUSB0 = USB_Serial", "/dev/ttyVN0: ttyVN0 = "};
        QCOMPARE(listed(bench), expected);
        QCOMPARE(bench.status() + QString::number(bench.statusMs()), "Found 4 port(s)3000");
        QCOMPARE(bench.log().size(), 7);
        QVERIFY(bench.log().constFirst().endsWith("] INFO: Refreshing port list..."));
        QVERIFY(bench.log().value(1).endsWith("] INFO: Found 4 ports"));
        QCOMPARE(bench.log().filter("INFO: Port: /dev/ttyUSB0 - ttyUSB0 = USB_Serial").size(), 1);
        QVERIFY(bench.log().constLast().endsWith("] INFO: Enumerated 4 port(s)"));

        for (const QString& name : devices().entryList({"tty*"}, QDir::Files | QDir::System))
            QVERIFY(devices().rename(name, '_' + name));
        bench.button("Refresh")->click();
        QCOMPARE(bench.status() + QString::number(bench.statusMs()), "Scanning for ports...0");
        QTRY_COMPARE(listed(bench), QStringList{": (No ports detected)"});
        QCOMPARE(bench.status() + QString::number(bench.statusMs()), "No serial ports found3000");
        QVERIFY(bench.log().constLast().endsWith("] WARNING: No serial ports detected"));
        QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, false);

        const auto connectToNothing = [&] { bench.button("Connect")->click(); };
        const QString warning =
            "Warning|No Port Selected|Please select a serial port from the list.";
        QCOMPARE(WindowBench::boxOf(connectToNothing), warning);
        bench.named<QComboBox>("Port:")->clear();
        QCOMPARE(WindowBench::boxOf(connectToNothing), warning);
        QCOMPARE(bench.log().filter("Attempting").size(), 0);
        for (const QString& name : devices().entryList({"_tty*"}, QDir::Files | QDir::System))
            QVERIFY(devices().rename(name, name.mid(1)));
    }

    void connectsAsChosen()
    {
        const WindowBench bench;
        const ModuleThread module;
        for (int index : {0, 6}) {
            auto* rates = bench.named<QComboBox>("Baud Rate:");
            rates->setCurrentIndex(index);
            QVERIFY(bench.connectTo(module.path()));
            QCOMPARE(bench.status() + QString::number(bench.statusMs()),
                     "Connected to the module0");
            QCOMPARE(bench.log()
                         .filter(": Connected to " + module.path() + " at " + rates->currentText() +
                                 " baud")
                         .size(),
                     1);
            bench.button("Disconnect")->click();
            QTRY_VERIFY(bench.button("Connect") != nullptr);
            QVERIFY(bench.logHas("INFO: Disconnected from port"));
            bench.logView()->clear();
        }
        const QString refusal = WindowBench::boxOf([&] {
            bench.named<QComboBox>("Port:")->setItemData(0, "/dev/null/none");
            bench.button("Connect")->click();
        });
        const QString reason =
            "Connection failed: Failed to open port - may be in use or doesn't exist";
        QCOMPARE(refusal, "Critical|Error|" + reason);
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
        for (int i = 1; i <= 996; ++i)
            QVERIFY(plugIn(QStringLiteral("ttyUSB%1").arg(i)));
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
