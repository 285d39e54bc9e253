#include "link/vnPortEnumerator.h"

#include <QMap>
#include <QTest>

/** Runs on the devices of ports.umockdev. */
class PortsTest : public QObject
{
    Q_OBJECT

private slots:
    void listsSerialPortsWithTheirModels()
    {
        vnPortEnumerator enumerator;
        QMap<QString, QString> found;
        for (const portInfo& port : enumerator.enumeratePorts()) {
            QCOMPARE(port.friendlyName, port.description);
            QVERIFY(port.isAvailable);
            found.insert(port.portName, port.description);
        }
        const QMap<QString, QString> expected{
            {"/dev/ttyUSB0", "ttyUSB0 = USB_Serial"},
            {"/dev/ttyACM3", "ttyACM3 = Modem %1 of 100%"},
            {"/dev/ttyS7", "ttyS7"},
            {"/dev/ttyVN0", "ttyVN0 = "},
        };
        QCOMPARE(found, expected);
    }
};

QTEST_GUILESS_MAIN(PortsTest)
#include "ports_test.moc"
