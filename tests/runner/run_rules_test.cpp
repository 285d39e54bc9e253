#include "command/Program.h"
#include "drive/RunObserver.h"
#include "drive/reportMembers.h"
#include "engine/lineCapacity.h"
#include "port/LineErrors.h"
#include "port/openFault.h"
#include "port/portUsers.h"
#include "runner/EventWriter.h"
#include "runner/junitReport.h"
#include "runner/runReport.h"
#include "runner/statusPieces.h"
#include "tests/support/RawLine.h"
#include "tests/support/SystemHand.h"
#include "tests/support/contentsOf.h"

#include <QtTest>

#include <cerrno>

#include <linux/serial.h>
#include <sys/ioctl.h>
#include <unistd.h>

/** What is decided without a line: options, arithmetic, verdicts. */
class RunRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void countsWhatTheLineCarries()
    {
        for (const QString& row : linesOf(RULES, "capacity")) {
            const QStringList cell = row.split('|');
            const QStringList number = cell[0].split(' ');
            const auto at = [&](qsizetype i) { return number[i].toInt(); };
            QCOMPARE(capacityWarning({at(0), at(1), at(2), at(3), at(4)}, at(5),
                                     {cell[1] != "exact", cell[1] == "screen"}),
                     cell[2]);
        }
    }

    void countsLineErrors()
    {
        QCOMPARE(countedBetween({5, 2, 3, 1, 4294967295}, {7, 2, 4, 1, 2}),
                 (LineErrorCounts{2, 0, 1, 0, 3})); // the last one ran over
        const RawLine line;                         // a pseudo-terminal counts nothing
        for (const QString& path : {line.path(), QString("/nowhere")})
            QVERIFY(!LineErrors(path, countedErrors("serial")).sinceStart());
        SystemHand hand;
        hand.ioctl = [looks = 0](int, unsigned long request, void* counters) mutable {
            const int n = looks++;
            serial_icounter_struct& told = *static_cast<serial_icounter_struct*>(counters);
            told.frame = n, told.overrun = 2 * n, told.parity = 3 * n;
            told.brk = 4 * n, told.buf_overrun = 5 * n;
            return request == TIOCGICOUNT ? 0 : failure(ENOTTY);
        };
        const auto counted = [](const char* driver) {
            const QJsonValue errors =
                toJson(LineErrors("/dev/null", countedErrors(driver)).sinceStart());
            return QJsonDocument(QJsonArray{errors}).toJson(QJsonDocument::Compact);
        };
        QCOMPARE(counted("none"),
                 R"([{"break":4,"bufferOverrun":5,"framing":1,"overrun":2,"parity":3}])");
        hand.ioctl = [](auto...) { return 0; }; // there is nothing to count
        QCOMPARE(counted("serial"),
                 R"([{"break":0,"bufferOverrun":0,"framing":0,"overrun":0,"parity":0}])");
        QCOMPARE(counted("ftdi_sio"),
                 R"([{"break":0,"bufferOverrun":null,"framing":0,"overrun":0,"parity":0}])");
        for (const char* unknown : {"", "cp210x", "cdc_acm", "serial_"})
            QCOMPARE(counted(unknown), "[null]");
    }

    void judges()
    {
        for (const QString& row : linesOf(RULES, "verdicts")) {
            const QStringList cell = row.split('|');
            const QStringList number = cell[0].split(' ');
            const quint64 sent = number[0].toULongLong();
            const quint64 lost = number[1].toULongLong();
            RunOptions options;
            options.maxLossPercent = number[3].toDouble();
            options.maxLatencyMs = 5.25;
            options.maxP99Ms = 5;
            RunOutcome outcome;
            outcome.stats = {sent, sent - lost, lost};
            outcome.lineLost = cell[1] == "lost";
            outcome.outputFault = cell[2];
            const double us = number[2].toDouble() * 1000;
            if (sent > 0)
                outcome.figures.latencyUs = {.p99 = us - 250, .maximum = us};
            outcome.figures.leftOut = {number[4].toULongLong(), 5};
            const Verdict verdict = judge(options, outcome);
            QStringList seen;
            for (const Check& check : verdict.checks) {
                if (check.result == Check::Result::Skipped)
                    seen += check.name + " skipped";
                if (!check.reason.isEmpty())
                    seen += check.name + ": " + check.reason;
            }
            QCOMPARE(seen.join("; "), cell[4]);
            QCOMPARE(int(verdict.status), cell[3].toInt());
            const QJsonObject report = runReport(options, outcome, verdict);
            QCOMPARE(report["successRatePercent"].isNull(), sent == 0);
            QVERIFY(report["achievedPacketsPerSecond"].isNull()); // nothing took any time
            QVERIFY(report["estimatedTrafficToModule"]["bytesPerSecond"].isNull());
        }
    }

    void writesWhatXmlCannotHold()
    {
        RunOptions options;
        options.port = "/dev/<x>";
        options.tags = {{"cable\x01", "<\x01&\"\t\uFFFE"}};
        RunOutcome outcome;
        outcome.outputFault = "\x1F\uFFFD";
        outcome.figures.leftOut.byComputer = 1;
        const QByteArray xml = junitReport(options, outcome, judge(options, outcome));
        for (const char* part :
             {"name=\"packetbrask-run /dev/&lt;x&gt;\" tests=\"5\" failures=\"2\" errors=\"1\" "
              "skipped=\"1\"",
              "<property name=\"cable\uFFFD\" value=\"&lt;\uFFFD&amp;&quot;&#9;\uFFFD\"/>",
              "<failure message=\"\uFFFD\uFFFD\"/>", "<error message=\"1 of 1 packets"})
            QVERIFY2(xml.contains(part), xml);
    }

    void tellsTheStatus()
    {
        const TestStats stats{120, 100, 20};
        const TimeSpan fast{0, 1, 0, 0, 0, 1234, 56789, {}}, slow{0, 1, 0, 0, 0, 9999, 10000, {}};
        const QString counts = " | sent 120, received 100, lost 20 | ";
        QCOMPARE(statusPieces(stats, 0, 0, {}).join(""), "0 s" + counts + "0.0/s");
        QCOMPARE(statusPieces(stats, 1600, 0, {}).join(""), "2 s" + counts + "75.0/s");
        QCOMPARE(statusPieces(stats, 8000, 1, slow).join(""),
                 "8 s of 1 s" + counts + "15.0/s | p50 10.00 ms, p99 10 ms");
        QCOMPARE(statusPieces(stats, 1, 0, fast).join(""),
                 "0 s" + counts + "120000.0/s | p50 1.23 ms, p99 57 ms");
    }

    void writesRowsAtOnce()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath("rows"));
        EventWriter rows;
        QVERIFY(rows.add({}, "INFO", "nobody") && rows.close()); // not open
        QVERIFY(rows.open(file.fileName()) && rows.add({}, "INFO", "one"));
        QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll().count('\n') == 2);
        QVERIFY(rows.close() && rows.add({}, "INFO", "too late") && file.readAll().isEmpty());
    }

    void losesALineOnce()
    {
        RunObserver observer(nullptr, 100);
        QSignalSpy lost(&observer, &RunObserver::lineLost);
        for (qint64 at = 0; at < 2'000'000'000; at += 1'000'000'000) {
            observer.runBegan(at);
            // Failures without a ping sent between them, for longer than the time-out.
            observer.sendFailed(0, 8, at);
            observer.pingSent({1, 8, -1, at + 90'000'000});
            observer.sendFailed(2, 8, at + 101'000'000);
            observer.sendFailed(3, 8, at + 201'000'000);
            QCOMPARE(lost.count(), at > 0 ? 1 : 0);
            observer.sendFailed(4, 8, at + 201'000'001);
            observer.sendFailed(5, 8, at + 900'000'000);
            QCOMPARE(lost.count(), at > 0 ? 2 : 1);
        }
    }

    void namesTheGroupToJoin()
    {
        const QString join = "; it is owned by group dialout: join that (usermod -aG dialout NAME, "
                             "then log in again) or have the rights of the device changed";
        for (const int error : {EACCES, EPERM})
            QCOMPARE(openFaultText(error, "dialout"), qt_error_string(error) + join);
        QCOMPARE(openFaultText(EACCES, ""), qt_error_string(EACCES));
        QCOMPARE(openFaultText(ENOENT, "dialout"), qt_error_string(ENOENT));
    }

    void leavesStandardErrorToItself()
    {
        const int last = ::dup(STDERR_FILENO); // a program may be started without
        ::close(STDIN_FILENO), ::close(STDERR_FILENO);
        Program::prepare();
        const QString fault = openFault("/dev/null");
        const int next = ::dup(last);
        ::dup2(last, STDERR_FILENO);
        QVERIFY(next == last + 1 && fault.startsWith("no usable serial line: "));
    }

    void namesWhoHasThePort()
    {
        const PortUser us{::getpid(), "test_run_rules"};
        const QString used =
            QStringLiteral("in use by test_run_rules (process %1)").arg(us.processId);
        QVERIFY(runningPrograms({"none", us.program}).contains(us) &&
                runningPrograms({"none"}).isEmpty());
        QCOMPARE(inUseText({us, {7, ""}}), used + ", a program (process 7)");
        QCOMPARE(inUseText({}), "in use by another program");
    }
};

QTEST_GUILESS_MAIN(RunRulesTest)
#include "run_rules_test.moc"
