#include "runner/LineErrors.h"
#include "runner/LineWatch.h"
#include "runner/RunObserver.h"
#include "runner/junitReport.h"
#include "runner/lineCapacity.h"
#include "runner/openFault.h"
#include "runner/runReport.h"
#include "tests/support/RawLine.h"

#include <QSignalSpy>
#include <QTest>

#include <cerrno>

#include <sys/file.h>
#include <unistd.h>

/** What is decided without a line: options, arithmetic, verdicts. */
class RunRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void refusesOptions()
    {
        // The last one of each line is at fault.
        for (const QString& line : std::initializer_list<QString>{
                 "--port=", "--port=x --baud=57600", "--port=x --rate=2.5", "--port=x --rate=1001",
                 "--port=x --max-size=8 --min-size=9", "--port=x --timeout=49",
                 "--port=x --json=", "--port=x --max-loss=nan", "--port=x --max-loss=100.1",
                 "--port=x --max-latency=-1", "--port=x --max-p99=60000.1",
                 "--port=x --timing=best", "--port=x --json=- --junit=-",
                 "--port=x --events=p --pings=p", "--port=x --duration=3601",
                 "--port=x --events=a --json=./a", "--port=x --tag=key", "--port=x --tag==value",
                 "--port=x --tag=a=1 --tag=b=1 --tag=a=2"}) {
            const RunOptions options = parseRunOptions(("program " + line).split(' '));
            QString named = line.section(' ', -1);
            named.replace(named.indexOf('='), 1, ": \"");
            QCOMPARE(options.outcome, RunOptions::Outcome::Error);
            QVERIFY2(options.message.startsWith(named + "\" is not allowed"), qPrintable(line));
        }
        // The ends of each range are not.
        for (const QString& line : std::initializer_list<QString>{
                 "--baud=1200 --rate=1 --min-size=0 --max-size=0 --timeout=50",
                 "--duration=0 --max-loss=0 --max-latency=0",
                 "--rate=1000 --min-size=124 --timeout=5000 --duration=3600",
                 "--max-loss=100 --max-latency=60000"})
            QCOMPARE(parseRunOptions(("program --port=x " + line).split(' ')).message, QString());
        const RunOptions tagged =
            parseRunOptions({"program", "--port=x", "--tag=a=b=c", "--tag=d="});
        QCOMPARE(tagged.tags, (QMap<QString, QString>{{"a", "b=c"}, {"d", ""}}));
    }

    void countsWhatTheLineCarries()
    {
        const LineUse pingsOnly{.writesScreen = false};
        QCOMPARE(capacityWarning({10, 116, 116}, 13200, pingsOnly), QString()); // just fits
        QCOMPARE(capacityWarning({501, 7, 10}, 115200, pingsOnly),
                 "501 packets/s, sent as 1000 (one every 1 ms), of 12.8 bytes on average need "
                 "140250 bits/s at 11 bits a byte; 115200 baud carries 821.4 frames/s");
        QCOMPARE(capacityWarning({501, 8, 8}, 66200, {false, false}), QString()); // 501 are 66132
        QCOMPARE(capacityWarning({5, 8, 8, 500, 30}, 1200, {}),
                 "5 packets/s of 12 bytes and 61 bytes/s for the module's screen need 1331 bits/s "
                 "at 11 bits a byte; 1200 baud carries 4.0 frames/s beside the screen");
    }

    void countsTheScreenAsTraffic()
    {
        RunOptions options;
        options.baudRate = 1200;
        options.config.minDataSize = options.config.maxDataSize = 8;
        for (const auto& [sent, lost, toModule, fromModule] :
             {std::tuple(250U, 5U, 23 + 19 + 17 + 12, 16),
              {250U, 0U, 23 + 19 + 18, 12},
              {250U, 250U, 23 + 17 + 16 + 14, 0},
              {0U, 0U, 23 + 15, 0}}) {
            const double rate = sent == 0 ? 0 : 100.0 * (sent - lost) / sent;
            RunOutcome outcome{.stats = {sent, sent - lost, lost, rate, 12}};
            outcome.figures.sendingNs = 1'000'000'000;
            const QJsonObject report = runReport(options, outcome, {});
            QCOMPARE(report["estimatedTrafficToModule"]["bytesPerSecond"],
                     int(sent) * 12 + toModule);
            QCOMPARE(report["estimatedTrafficFromModule"]["bytesPerSecond"],
                     int(sent - lost) * 12 + fromModule);
        }
    }

    void countsLineErrors()
    {
        QCOMPARE(countedBetween({5, 2, 3, 1, 4294967295}, {7, 2, 4, 1, 2}),
                 (LineErrorCounts{2, 0, 1, 0, 3})); // the last one ran over
    }

    void judges()
    {
        constexpr int none = TestStats::noLatencyYet;
        // Sent, lost, longest round trip and 99th percentile in ms, loss limit, line lost, file
        // fault; status, reasons, things that were not judged.
        for (const auto& [name, sent, lost, ms, p99, limit, lineLost, fault, status, reasons,
                          skipped] : {
                 std::tuple("at the limits", 1000U, 1U, 5.25, 4.5, 0.1, false, "", 0, 0, 0),
                 {"above all", 1000U, 2U, 5.251, 4.501, 0.1, false, "", 1, 3, 0},
                 {"none sent", 0U, 0U, 0., 0., 100, false, "", 1, 1, 3},
                 {"none back", 9U, 9U, 0., 0., 100, false, "", 1, 1, 3},
                 {"line lost", 100U, 9U, 5, 1., 0, true, "", 4, 2, 0},
                 {"all at once", 100U, 9U, 6, 5., 0, true, "full", 5, 5, 0},
             }) {
            RunOptions options;
            options.maxLossPercent = limit;
            options.maxLatencyMs = 5.25;
            options.maxP99Ms = 4.5;
            options.tags = {{"cable", "<\x01&\""}};
            RunOutcome outcome{.stats = {sent, sent - lost, lost, 0, none, none, none},
                               .lineLost = lineLost,
                               .outputFault = fault};
            if (sent > lost)
                outcome.figures.latencyUs = {.p99 = p99 * 1000, .maximum = ms * 1000};
            const Verdict verdict = judge(options, outcome);
            QVERIFY2(int(verdict.status) == status && verdict.reasons().size() == reasons, name);
            const QByteArray xml = junitReport(options, outcome, verdict);
            QCOMPARE(xml.count("<testcase "), 6);
            QCOMPARE(xml.count("<failure "), reasons);
            QCOMPARE(xml.count("<skipped"), skipped);
            QVERIFY(xml.contains(QString("value=\"&lt;\uFFFD&amp;&quot;\"").toUtf8()));
            const QJsonObject report = runReport(options, outcome, verdict);
            QCOMPARE(report["latencyMs"]["minimum"].isNull(), sent == lost);
            QCOMPARE(report["successRatePercent"].isNull(), sent == 0);
        }
    }

    void takesOnlyUnbrokenFailuresForALostLine()
    {
        LineWatch watch(100);
        QVERIFY(!watch.failed(1'000'000'000));
        watch.sent();
        QVERIFY(!watch.failed(1'101'000'000) && !watch.failed(1'201'000'000));
        QVERIFY(watch.failed(1'201'000'001));
    }

    void losesALineOnce()
    {
        RunObserver observer(nullptr, 100);
        QSignalSpy lost(&observer, &RunObserver::lineLost);
        observer.runBegan(0);
        for (quint64 id = 0; id < 6; ++id) {
            if (id == 2)
                observer.pingSent({id, 8, -1, 0});
            else
                observer.sendFailed(id, 8, qint64(id) * 60'000'000);
            QCOMPARE(lost.count(), id < 5 ? 0 : 1);
        }
        observer.sendFailed(6, 8, 360'000'000);
        QCOMPARE(lost.count(), 1);
    }

    void namesTheGroupToJoin()
    {
        QVERIFY(openFaultText(EACCES, "dialout").contains("owned by group dialout"));
        QCOMPARE(openFaultText(ENOENT, "dialout"), qt_error_string(ENOENT));
    }

    void namesWhoHasThePort()
    {
        const RawLine line;
        const QString us = QStringLiteral("in use by test_run_rules (process %1)").arg(::getpid());
        QCOMPARE(::flock(line.otherEnd(), LOCK_EX), 0);
        QCOMPARE(openFault(line.path()), us);
        QCOMPARE(::flock(line.otherEnd(), LOCK_UN), 0);
        QCOMPARE(openFault(line.path()), QString());
    }
};

QTEST_GUILESS_MAIN(RunRulesTest)
#include "run_rules_test.moc"
