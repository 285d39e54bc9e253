#include "engine/BraskTestWorker.h"
#include "simulator/ModuleThread.h"
#include "tests/support/EngineRecord.h"
#include "tests/support/RunTruth.h"

#include <QTest>
#include <QThread>

Q_DECLARE_METATYPE(ModuleFaults)

/** Whole runs, engine and module each in a thread of its own, judged by what the module counted. */
class FaultsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qRegisterMetaType<QList<portInfo>>("QList<portInfo>");
        qRegisterMetaType<TestStats>("TestStats");
        qRegisterMetaType<TestConfig>("TestConfig");
    }

    void agreesWithTheModule_data()
    {
        QTest::addColumn<ModuleFaults>("faults");
        QTest::newRow("none") << ModuleFaults{};
        QTest::newRow("many") << manyFaults();
        QTest::newRow("errors") << ModuleFaults{.seed = 2, .garbage = 0.1, .errorReply = 0.3};
        QTest::newRow("answers overtake") << ModuleFaults{.delayMs = 5, .jitterMs = 60};
        QTest::newRow("slow line") << ModuleFaults{.baudRate = 38400};
    }

    void agreesWithTheModule()
    {
        QFETCH(ModuleFaults, faults);
        ModuleThread module(faults);
        QThread thread;
        auto* worker = new BraskTestWorker;
        EngineRecord record(worker);
        worker->moveToThread(&thread);
        connect(&thread, &QThread::finished, worker, &QObject::deleteLater);
        thread.start();
        QMetaObject::invokeMethod(worker, "connectToPort", Q_ARG(QString, module.path()),
                                  Q_ARG(int, 115200));
        const TestConfig config{.packetsPerSecond = 200,
                                .minDataSize = 8,
                                .maxDataSize = 16,
                                .timeoutMs = 400,
                                .durationSec = 1};
        QMetaObject::invokeMethod(worker, "startTest", Q_ARG(TestConfig, config));
        QTRY_COMPARE_WITH_TIMEOUT(record.completed, 1, 30000);
        thread.quit();
        thread.wait();

        const TestStats& seen = record.stats;
        QVERIFY(seen.packetsSent > 20);
        QCOMPARE(disagreement(module, seen.packetsSent, seen.packetsReceived, seen.packetsLost,
                              record.lines.join('\n')),
                 QString());
        const auto reached = record.lines.indexOf("INFO: Test duration reached");
        QCOMPARE(record.lines.value(reached + 1), "INFO: Waiting for final replies...");
    }
};

QTEST_GUILESS_MAIN(FaultsTest)
#include "faults_test.moc"
