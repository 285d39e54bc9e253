#include "link/vnPortEnumerator.h"

#include <QTest>

#include <filesystem>
#include <fstream>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

/** On the devices of ports.umockdev. */
class PortsTest : public QObject
{
    Q_OBJECT

private slots:
    void listsTheNewestFirst()
    {
        const fs::path devices = fs::path(qgetenv("UMOCKDEV_DIR").constData()) / "dev";
        for (const char* name : {"tty.a", "ttysa", "attyS0", "tty_a", "TTYUSB0", "ttya", "tty0"})
            std::ofstream(devices / name) << "no device";
        fs::create_directory(devices / "ttySdirectory");
        const QStringList found{"ttyS7",     "ttyUSB0 = USB_Serial",       "tty.a",
                                "ttyVN0 = ", "ttyACM3 = Modem %1 of 100%", "ttysa"};
        auto changed = fs::file_time_type::clock::now();
        for (const QString& description : found)
            fs::last_write_time(devices / description.section(' ', 0, 0).toStdString(),
                                changed -= 1min);
        QStringList listed;
        for (const portInfo& port : vnPortEnumerator().enumeratePorts()) {
            QVERIFY(port.isAvailable && port.friendlyName == port.description);
            QCOMPARE(port.portName, "/dev/" + port.description.section(' ', 0, 0));
            listed += port.description;
        }
        QCOMPARE(listed, found);
        fs::create_symlink("/nowhere", devices / "ttySgone");
        QCOMPARE(vnPortEnumerator().enumeratePorts().size(), found.size() + 1);
    }
};

QTEST_GUILESS_MAIN(PortsTest)
#include "ports_test.moc"
