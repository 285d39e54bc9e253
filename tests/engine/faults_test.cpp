#include "engine/BraskTestWorker.h"
#include "tests/support/EngineRecord.h"
#include "tests/support/ModuleProcess.h"

#include <QTest>
#include <QThread>

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
        QTest::addColumn<QString>("options");
        QTest::newRow("none") << "";
        QTest::newRow("many") << "--seed 1 --drop 0.1 --corrupt 0.05 --alter 0.05 --truncate 0.05 "
                                 "--duplicate 0.1 --garbage 0.2 --report 0.1 --split 0.1";
        QTest::newRow("errors") << "--seed 2 --error-reply 0.3 --garbage 0.1 --report 0.1";
        QTest::newRow("answers overtake") << "--delay 5 --jitter 60";
        QTest::newRow("slow line") << "--baud 38400";
    }

    void agreesWithTheModule()
    {
        QFETCH(QString, options);
        ModuleProcess module(options.split(' ', Qt::SkipEmptyParts));
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
        QCOMPARE(module.disagreement(qint64(seen.packetsSent), qint64(seen.packetsReceived),
                                     qint64(seen.packetsLost), record.lines.join('\n')),
                 QString());
        const auto reached = record.lines.indexOf("INFO: Test duration reached");
        QCOMPARE(record.lines.value(reached + 1), "INFO: Waiting for final replies...");
    }
};

QTEST_GUILESS_MAIN(FaultsTest)
#include "faults_test.moc"
