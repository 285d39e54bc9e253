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
    void readsTexts()
    {
        // Valid, model, versions A and B, family, data bytes.
        for (const auto& [text, fields] : QList<std::pair<const char*, QList<int>>>{
                 {"VNA101:H1.2 F3.4", {1, 101, 1, 2, 3, 4, 0x8, 22}},
                 {"VNA102:H1.2 F3.4", {1, 102, 1, 2, 3, 4, 0x10, 22}},
                 {"VNA103:H1.2 F3.4", {1, 103, 1, 2, 3, 4, 0x20, 22}},
                 {"VNA104:H1.2 F1.F", {1, 104, 1, 2, 1, 15, 0x40, 22}},
                 {"VNA104:H1.2 F2.0", {1, 104, 1, 2, 2, 0, 0x40, 22}},
                 {"VNA104:H1.2 F2.1", {1, 104, 1, 2, 2, 1, 0x80, 22}},
                 {"VNA104:H1.2 F3.0", {1, 104, 1, 2, 3, 0, 0x80, 22}},
                 {"VNA105:H1.2 F0.0", {1, 105, 1, 2, 0, 0, 0x100, 124}},
                 {"VNA106:H1.2 F0.5", {1, 106, 1, 2, 0, 5, 0x200, 124}},
                 {"VNA106:H1.2 F1.3", {1, 106, 1, 2, 1, 3, 0x200, 124}},
                 {"VNA106:H1.2 F1.4", {1, 106, 1, 2, 1, 4, 0x400, 124}},
                 {"VNA106:H1.2 F1.5", {1, 106, 1, 2, 1, 5, 0x800, 124}},
                 {"VNA107:H1.2 F1.5", {1, 107, 1, 2, 1, 5, 0x1000, 124}},
                 {"VNA108:H1.2 F1.5", {1, 108, 1, 2, 1, 5, 0x2000, 124}},
                 {"VNA100:H1.2 F1.5", {1, 100, 1, 2, 1, 5, 0, 124}},
                 {"VNA109:H1.2 F1.5", {1, 109, 1, 2, 1, 5, 0, 124}},
                 {"VNA001:H1.2 F1.5", {1, 1, 1, 2, 1, 5, 0, 124}},
                 {"VNA999 name: 0-9..f.B and more", {1, 999, 0, 9, 15, 11, 0, 124}},
                 {"xyz007 VNA: A.b, C.D", {1, 7, 10, 11, 12, 13, 0, 124}}}) {
            ModuleVersion version;
            QVERIFY2(version.parse(text), text);
            QCOMPARE(fieldsOf(version), fields);
        }
    }

    void refusesTexts()
    {
        const QString good = "VNA101:H1.2 F3.4";
        QStringList texts{"VNB101:H1.2 F3.4",  "vna101:H1.2 F3.4",
                          "VNA1:1H1.2 F3.4",   "VNA:01:H1.2 F3.4",
                          "VNA000:H1.2 F3.4",  "VNA-10:H1.2 F3.4",
                          "VNAabc:H1.2 F3.4",  "VNA101:H1.2 F3.\u0663",
                          ":00101 2  3 4 VNA", QString("VNA1") + QChar(0) + "1:H1.2 F3.4"};
        for (const int index : {0, 5, 6, 8, 10, 13, 15})
            texts += {good.left(index), QString(good).replace(index, 1, 'g')};
        for (const QString& text : texts) {
            ModuleVersion version;
            QVERIFY(version.parse(good));
            QVERIFY2(!version.parse(text), qPrintable(text));
            QCOMPARE(fieldsOf(version), fieldsOf({}));
        }
    }
};

QTEST_GUILESS_MAIN(ModuleVersionTest)
#include "module_version_test.moc"
