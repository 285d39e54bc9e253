#include "runner/LineWatch.h"
#include "runner/lineCapacity.h"
#include "runner/openFault.h"
#include "runner/runReport.h"

#include <QDir>
#include <QJsonObject>
#include <QTest>

#include <cerrno>

/** What is decided without a line: options, arithmetic, verdicts. */
class RunRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void refusesOptions_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("named");
        for (const char* text : {"--baud=0",         "--baud=57600",     "--baud=fast",
                                 "--rate=0",         "--rate=1001",      "--rate=2.5",
                                 "--min-size=-1",    "--min-size=125",   "--max-size=125",
                                 "--timeout=49",     "--timeout=5001",   "--duration=-1",
                                 "--duration=3601",  "--events=",        "--json=",
                                 "--max-loss=-0.1",  "--max-loss=100.1", "--max-loss=nan",
                                 "--max-loss=",      "--max-latency=-1", "--max-latency=60001",
                                 "--max-latency=1.5"}) {
            const QString argument = text;
            QTest::newRow(text) << QStringList{"--port=x", argument}
                                << argument.section('=', 0, 0) + ": \"" + argument.section('=', 1) +
                                       "\" is not allowed, only ";
        }
        QTest::newRow("no port") << QStringList{"--rate=5"} << "--port: ";
        QTest::newRow("empty port") << QStringList{"--port="} << "--port: ";
        QTest::newRow("sizes crossed") << QStringList{"--port=x", "--min-size=9", "--max-size=8"}
                                       << "--min-size: \"9\" is not allowed, only at most";
        QTest::newRow("one file for two")
            << QStringList{"--port=x", "--events=a", "--json=./a"} << "--json: ";
        QTest::newRow("value missing") << QStringList{"--port"} << "'--port'";
        QTest::newRow("unknown") << QStringList{"--port=x", "--loud"} << "'loud'";
        QTest::newRow("positional") << QStringList{"--port=x", "y"} << "\"y\" is not allowed";
    }

    void refusesOptions()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, named);
        const RunOptions options = parseRunOptions(QStringList("program") + arguments);
        QCOMPARE(options.outcome, RunOptions::Outcome::Error);
        QVERIFY2(options.message.contains(named), qPrintable(options.message));
    }

    void takesTheEndsOfEachRange()
    {
        const QString lowest = "program --port x --baud 1200 --rate 1 --min-size 0 --max-size 0 "
                               "--timeout 50 --duration 0 --max-loss 0.5 --json -";
        RunOptions options = parseRunOptions(lowest.split(' '));
        QCOMPARE(options.message, QString());
        QCOMPARE(options.config.maxDataSize, 0);
        QCOMPARE(options.maxLossPercent, 0.5);
        QVERIFY(!options.maxLatencyMs);
        const QString highest = "program --port x --baud 115200 --rate 1000 --min-size 124 "
                                "--timeout 5000 --duration 3600 --max-loss 100 --max-latency 60000";
        options = parseRunOptions(highest.split(' '));
        QCOMPARE(options.message, QString());
        QCOMPARE(options.maxLatencyMs.value_or(-1), 60000);
    }

    void countsWhatTheLineCarries()
    {
        const auto warning = [](int rate, int minSize, int maxSize, int baudRate) {
            return capacityWarning({rate, minSize, maxSize}, baudRate);
        };
        const QString tail = " of 12 bytes need 132000 bits/s at 11 bits a byte; 115200 baud "
                             "carries 872.7 frames/s";
        QCOMPARE(warning(500, 0, 8, 115200), QString());
        QCOMPARE(warning(10, 116, 116, 13200), QString()); // just fits
        QCOMPARE(warning(1000, 0, 8, 115200), "1000 packets/s" + tail);
        QCOMPARE(warning(501, 8, 8, 115200),
                 "501 packets/s, sent as 1000 (one every 1 ms)," + tail);
        QCOMPARE(warning(10, 7, 10, 1200),
                 QString("10 packets/s of 12.8 bytes on average need 1402.5 bits/s at 11 bits a "
                         "byte; 1200 baud carries 8.6 frames/s"));
    }

    void judges_data()
    {
        QTest::addColumn<QList<int>>("run");    // sent, lost, every round trip in ms
        QTest::addColumn<QList<int>>("limits"); // loss in thousandths, latency in ms
        QTest::addColumn<QString>("fault");     // of the line or the event file
        QTest::addColumn<QList<int>>("result"); // status, how many reasons
        using Row = QList<int>;
        constexpr int none = -1;
        QTest::newRow("clean") << Row{100, 0, 5} << Row{0, 5} << "" << Row{0, 0};
        QTest::newRow("at the limit") << Row{1000, 1, 5} << Row{1, none} << "" << Row{0, 0};
        QTest::newRow("above it") << Row{1000, 2, 5} << Row{1, none} << "" << Row{1, 1};
        QTest::newRow("late") << Row{100, 0, 6} << Row{0, 5} << "" << Row{1, 1};
        QTest::newRow("both") << Row{100, 1, 6} << Row{0, 5} << "" << Row{1, 2};
        QTest::newRow("untimed") << Row{1, 0, none} << Row{0, 5} << "" << Row{1, 1};
        QTest::newRow("no limit") << Row{1, 0, none} << Row{0, none} << "" << Row{0, 0};
        QTest::newRow("none sent") << Row{0, 0, none} << Row{1000, none} << "" << Row{1, 1};
        QTest::newRow("none back") << Row{9, 9, none} << Row{1000, none} << "" << Row{1, 1};
        QTest::newRow("line") << Row{100, 9, 5} << Row{0, none} << "line" << Row{4, 2};
        QTest::newRow("all at once") << Row{100, 9, 5} << Row{0, 1} << "line, file" << Row{5, 4};
    }

    void judges()
    {
        QFETCH(QList<int>, run);
        QFETCH(QList<int>, limits);
        QFETCH(QString, fault);
        QFETCH(QList<int>, result);
        RunOptions options;
        options.maxLossPercent = limits[0] / 10.0;
        if (limits[1] >= 0)
            options.maxLatencyMs = limits[1];
        RunOutcome outcome;
        outcome.stats.packetsSent = quint64(run[0]);
        outcome.stats.packetsLost = quint64(run[1]);
        outcome.stats.packetsReceived = quint64(run[0] - run[1]);
        if (run[2] >= 0)
            outcome.stats.minLatencyMs = outcome.stats.maxLatencyMs = run[2];
        outcome.lineLost = fault.contains("line");
        outcome.outputFault = fault.contains("file") ? fault : QString();
        const Verdict verdict = judge(options, outcome);
        QCOMPARE(QList<int>({int(verdict.status), int(verdict.reasons.size())}), result);

        const QJsonObject report = runReport(options, outcome, verdict);
        QCOMPARE(report["exitStatus"].toInt(), result[0]);
        QCOMPARE(report["latencyMs"]["minimum"].isNull(), run[2] < 0);
        QCOMPARE(report["successRatePercent"].isNull(), run[0] == 0);
        QVERIFY(report["achievedPacketsPerSecond"].isNull()); // no time was spent
    }

    void noticesALostLine()
    {
        LineWatch watch(100);
        const auto fails = [&](int id, qint64 nowMs) {
            return watch.isLostWith(QStringLiteral("Failed to send packet %1").arg(id), nowMs);
        };
        QVERIFY(!fails(5, 1000));
        QVERIFY(!fails(6, 1100));
        QVERIFY(!fails(8, 1101)); // 7 was sent
        QVERIFY(!fails(9, 1201));
        QVERIFY(!watch.isLostWith("Packet 3 lost (final timeout)", 1300));
        QVERIFY(fails(10, 1202));
    }

    void tellsWhyAPortDoesNotOpen()
    {
        QVERIFY(openFaultText(EACCES, "dialout").contains("owned by group dialout"));
        QVERIFY(!openFaultText(ENOENT, "dialout").contains("dialout"));
        QCOMPARE(openFault(QDir::tempPath()), qt_error_string(EISDIR));
    }
};

QTEST_GUILESS_MAIN(RunRulesTest)
#include "run_rules_test.moc"
