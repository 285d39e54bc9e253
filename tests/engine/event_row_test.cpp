#include "engine/EventRow.h"

#include <QDateTime>
#include <QTest>

class EventRowTest : public QObject
{
    Q_OBJECT

private slots:
    void fillsSixColumns_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("row"); // behind the time
        const auto add = [](const char* type, const char* message, const char* row) {
            QTest::newRow(message) << type << message << row;
        };
        add("INFO", "Test started", ",INFO,,,Test started");
        add("INFO", "Sent packet 3 (77 bytes)", "3,INFO,77,,Sent packet 3 (77 bytes)");
        add("SUCCESS", "Packet 18446744073709551615: 12ms",
            "18446744073709551615,SUCCESS,,12,Packet 18446744073709551615: 12ms");
        add("SUCCESS", "Packet 4: -3ms", "4,SUCCESS,,-3,Packet 4: -3ms");
        add("ERROR", "Failed to send packet 10", "10,ERROR,,,Failed to send packet 10");
        add("TIMEOUT", "Packet 5 timeout after 500ms", "5,TIMEOUT,,,Packet 5 timeout after 500ms");
        add("TIMEOUT", "Packet 6 lost (final timeout)",
            "6,TIMEOUT,,,Packet 6 lost (final timeout)");
        add("ERROR", "Packet 7: Data mismatch! Expected 20 bytes, got 12",
            "7,ERROR,20,,\"Packet 7: Data mismatch! Expected 20 bytes, got 12\"");
        add("WARNING", "Received reply for unknown sequence ID: 8",
            "8,WARNING,,,Received reply for unknown sequence ID: 8");
        add("INFO", "Test stopped. Sent: 4, Received: 3, Lost: 1, Success: 75.0%",
            ",INFO,,,\"Test stopped. Sent: 4, Received: 3, Lost: 1, Success: 75.0%\"");
        add("INFO", "Port: /dev/ttyUSB0 - a \"%1\"",
            ",INFO,,,\"Port: /dev/ttyUSB0 - a \"\"%1\"\"\"");
        add("INFO", "two\nlines", ",INFO,,,\"two\nlines\"");
        add("INFO", "returned\r", ",INFO,,,\"returned\r\"");
        add("INFO", "Packet 5: 6ms\n", ",INFO,,,\"Packet 5: 6ms\n\"");
        add("a,b", "", ",\"a,b\",,,");
    }

    void fillsSixColumns()
    {
        QFETCH(QString, type);
        QFETCH(QString, message);
        QFETCH(QString, row);
        const QDateTime time(QDate(2027, 1, 2), QTime(8, 3, 9, 42));
        QCOMPARE(eventRow(time, type, message), "2027-01-02 08:03:09.042," + row + "\n");
    }
};

QTEST_GUILESS_MAIN(EventRowTest)
#include "event_row_test.moc"
