#include "link/ModuleVersion.h"

#include <QTest>

#include <cstdlib>

namespace {

/** Valid, model, versions A and B, family flag, most data bytes. */
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
        ModuleVersion version;
        // Model, version B as a digit each, family flag.
        const std::initializer_list<std::array<int, 3>> rows{
            {100, 0x15, 0},     {101, 0x34, 0x8},    {102, 0x34, 0x10},   {103, 0x34, 0x20},
            {104, 0x1F, 0x40},  {104, 0x20, 0x40},   {104, 0x21, 0x80},   {104, 0x30, 0x80},
            {105, 0x00, 0x100}, {106, 0x05, 0x200},  {106, 0x13, 0x200},  {106, 0x14, 0x400},
            {106, 0x15, 0x800}, {107, 0x15, 0x1000}, {108, 0x15, 0x2000}, {109, 0x15, 0}};
        for (const auto& [model, versionB, flag] : rows) {
            const auto [major, minor] = std::div(versionB, 16);
            const QString text("VNA%1:H1.2 F%2.%3");
            QVERIFY(version.parse(text.arg(model).arg(major).arg(minor, 0, 16)));
            const int most = model > 100 && model < 105 ? 22 : 124;
            QCOMPARE(fieldsOf(version), QList<int>({1, model, 1, 2, major, minor, flag, most}));
        }
        QVERIFY(version.parse("xyz007 VNA: A.b, C.D"));
        QCOMPARE(fieldsOf(version), QList<int>({1, 7, 10, 11, 12, 13, 0, 124}));
    }

    void refusesTexts()
    {
        const QString good = "VNA101:H1.2 F3.4";
        QStringList texts{"VNB101:H1.2 F3.4", "vna101:H1.2 F3.4", "VNA000:H1.2 F3.4",
                          "VNA-10:H1.2 F3.4", ":00101 2  3 4 VNA"};
        texts += QString(good).replace(4, 1, QChar(0));
        for (const int index : {0, 5, 6, 8, 10, 13, 15})
            texts += {good.left(index), QString(good).replace(index, 1, 'g')};
        for (const QString& text : texts) {
            ModuleVersion version;
            QVERIFY(version.parse(good));
            QVERIFY2(!version.parse(text), qPrintable(text));
            QCOMPARE(fieldsOf(version), QList<int>({0, 0, -1, -1, -1, -1, 0, 124}));
        }
    }
};

QTEST_GUILESS_MAIN(ModuleVersionTest)
#include "module_version_test.moc"
