#include "link/vnPacketComs.h"

#include <QSet>
#include <QTest>

class CodeTablesTest : public QObject
{
    Q_OBJECT

private slots:
    void textsEveryError()
    {
        const QString unknown = "Unknown error";
        const QSet<uint32_t> gaps{0x1B, 0x1C, 0x1D, 0x22, 0x24};
        QSet<QString> texts;
        for (uint32_t code = 0; code <= 0x30; ++code) {
            const char* text = vnPacketComs::errorText(code);
            QVERIFY(text != nullptr);
            texts.insert(text);
            const bool hasNone = gaps.contains(code) || code == 0x01 || code > 0x27;
            QVERIFY2((text == unknown) == hasNone, qPrintable(QString::number(code, 16)));
        }
        QCOMPARE(texts.size(), 35);
        QCOMPARE(vnPacketComs::errorText(0xFFFFFFFF), unknown);
        QCOMPARE(vnPacketComs::errorText(0x00), "Ok");
        QCOMPARE(vnPacketComs::errorText(0x27), "Font slot already in use");
    }

    void namesInterfaces()
    {
        const QStringList names{"Serial", "USB", "SPI", "I2C", "CANBus"};
        for (int id = 0; id < names.size(); ++id)
            QCOMPARE(vnPacketComs::interfaceName(id), names.at(id));
        for (const int id : {-1, 5, 0xFE, 0xFF, INT_MAX, INT_MIN})
            QCOMPARE(vnPacketComs::interfaceName(id), nullptr);
    }
};

QTEST_GUILESS_MAIN(CodeTablesTest)
#include "code_tables_test.moc"
