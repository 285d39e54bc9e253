#include "link/ModuleVersion.h"

#include <QTest>

namespace {

QList<int> fieldsOf(const ModuleVersion& v)
{
    return {v.valid,         v.model,         v.versionAMajor, v.versionAMinor,
            v.versionBMajor, v.versionBMinor, v.familyFlag,    v.maxDataLength()};
}

} // namespace

class ModuleVersionTest : public QObject
{
    Q_OBJECT

private slots:
    void readsTexts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QList<int>>("fields"); // valid, model, A, B, family, data bytes
        const auto add = [](const char* text, const QList<int>& fields) {
            QTest::newRow(text) << QString(text) << fields;
        };
        add("VNA101:H1.2 F3.4", {1, 101, 1, 2, 3, 4, 0x8, 22});
        add("VNA102:H1.2 F3.4", {1, 102, 1, 2, 3, 4, 0x10, 22});
        add("VNA103:H1.2 F3.4", {1, 103, 1, 2, 3, 4, 0x20, 22});
        add("VNA104:H1.2 F1.9", {1, 104, 1, 2, 1, 9, 0x40, 22});
        add("VNA104:H1.2 F2.0", {1, 104, 1, 2, 2, 0, 0x40, 22});
        add("VNA104:H1.2 F2.1", {1, 104, 1, 2, 2, 1, 0x80, 22});
        add("VNA105:H1.2 F0.0", {1, 105, 1, 2, 0, 0, 0x100, 124});
        add("VNA106:H1.2 F0.5", {1, 106, 1, 2, 0, 5, 0x200, 124});
        add("VNA106:H1.2 F1.3", {1, 106, 1, 2, 1, 3, 0x200, 124});
        add("VNA106:H1.2 F1.4", {1, 106, 1, 2, 1, 4, 0x400, 124});
        add("VNA106:H1.2 F1.5", {1, 106, 1, 2, 1, 5, 0x800, 124});
        add("VNA107:H1.2 F1.5", {1, 107, 1, 2, 1, 5, 0x1000, 124});
        add("VNA108:H1.2 F1.5", {1, 108, 1, 2, 1, 5, 0x2000, 124});
        add("VNA100:H1.2 F1.5", {1, 100, 1, 2, 1, 5, 0, 124});
        add("VNA999 name: 0-9..f.B and more", {1, 999, 0, 9, 15, 11, 0, 124});
        add("xyz007 VNA: A.b, C.D", {1, 7, 10, 11, 12, 13, 0, 124});
    }

    void readsTexts()
    {
        QFETCH(QString, text);
        ModuleVersion version;
        QVERIFY(version.parse(text));
        QTEST(fieldsOf(version), "fields");
    }

    void refusesTexts_data()
    {
        QTest::addColumn<QString>("text");
        const QString good = "VNA101:H1.2 F3.4";
        for (qsizetype length = 0; length < good.size(); ++length)
            QTest::addRow("cut to %d", int(length)) << good.left(length);
        for (const QChar c : QString::fromUtf8(".gG[_`@ -+é٣"))
            for (const int index : {8, 10, 13, 15})
                QTest::addRow("U+%04x at %d", c.unicode(), index)
                    << QString(good).replace(index, 1, c);
        QTest::newRow("no VNA") << "VNB101:H1.2 F3.4";
        QTest::newRow("lower case") << "vna101:H1.2 F3.4";
        QTest::newRow("colon too early") << "VNA1:1H1.2 F3.4";
        QTest::newRow("second colon") << "VNA:01:H1.2 F3.4";
        QTest::newRow("model 0") << "VNA000:H1.2 F3.4";
        QTest::newRow("negative model") << "VNA-10:H1.2 F3.4";
        QTest::newRow("no model") << "VNAabc:H1.2 F3.4";
        QTest::newRow("VNA late, no model in front") << "Module VNA101:H1.2 F3.4";
        QTest::newRow("long") << QString(100000, 'V') + "NA:";
        QTest::newRow("long, no digits") << "VNA101:" + QString(100000, ':');
    }

    void refusesTexts()
    {
        QFETCH(QString, text);
        ModuleVersion version;
        QVERIFY(version.parse("VNA104:H1.2 F3.4"));
        QVERIFY(!version.parse(text));
        QCOMPARE(fieldsOf(version), fieldsOf({}));
    }
};

QTEST_GUILESS_MAIN(ModuleVersionTest)
#include "module_version_test.moc"
