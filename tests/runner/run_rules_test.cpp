#include "runner/EventWriter.h"
#include "runner/LineErrors.h"
#include "runner/RunObserver.h"
#include "runner/junitReport.h"
#include "runner/lineCapacity.h"
#include "runner/openFault.h"
#include "runner/portUsers.h"
#include "runner/runReport.h"
#include "runner/statusText.h"
#include "tests/support/RawLine.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstdarg>

#include <linux/serial.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/** What the driver of every line has counted; none: it does not count. */
std::optional<serial_icounter_struct> counters;

} // namespace

/** In the place of the system's: a pseudo-terminal counts nothing. */
extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request != TIOCGICOUNT || !counters || descriptor < 0)
        return int(::syscall(SYS_ioctl, descriptor, request, argument));
    *static_cast<serial_icounter_struct*>(argument) = *counters;
    return 0;
}

/** What is decided without a line: options, arithmetic, verdicts. */
class RunRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void countsWhatTheLineCarries()
    {
        const LineUse pingsOnly{.writesScreen = false};
        const LineUse exact{.wholeMilliseconds = false, .writesScreen = false};
        for (const auto& [config, baud, use, warning] : {
                 std::tuple(TestConfig{10, 116, 116}, 13200, pingsOnly, ""), // just fits
                 {TestConfig{10, 108, 124}, 13199, exact,
                  "10 packets/s of 120 bytes on average need 13200 bits/s at 11 bits a byte; 13199 "
                  "baud "
                  "carries 10.0 frames/s"},
                 {TestConfig{501, 7, 10}, 115200, pingsOnly,
                  "501 packets/s, sent as 1000 (one every 1 ms), of 12.8 bytes on average need "
                  "140250 bits/s at 11 bits a byte; 115200 baud carries 821.4 frames/s"},
                 {TestConfig{300, 8, 9}, 40000, pingsOnly,
                  "300 packets/s, sent as 333.3 (one every 3 ms), of 12.5 bytes on average need "
                  "45833.3 bits/s at 11 bits a byte; 40000 baud carries 290.9 frames/s"},
                 {TestConfig{5, 8, 8, 500, 30}, 1331, LineUse{}, ""},
                 {TestConfig{5, 8, 8, 500, 30}, 1200, LineUse{},
                  "5 packets/s of 12 bytes and 61 bytes/s for the module's screen need 1331 bits/s "
                  "at 11 bits a byte; 1200 baud carries 4.0 frames/s beside the screen"},
                 {TestConfig{5, 8, 8, 99, 0}, 1200, LineUse{},
                  "5 packets/s of 12 bytes and 64 bytes/s for the module's screen need 1364 bits/s "
                  "at 11 bits a byte; 1200 baud carries 3.8 frames/s beside the screen"},
             })
            QCOMPARE(capacityWarning(config, baud, use), warning);
    }

    void countsLineErrors()
    {
        QCOMPARE(countedBetween({5, 2, 3, 1, 4294967295}, {7, 2, 4, 1, 2}),
                 (LineErrorCounts{2, 0, 1, 0, 3})); // the last one ran over
        const RawLine line;
        const LineErrors uncounted(line.path());
        QVERIFY(uncounted.sinceStart().isNull());
        counters.emplace();
        const LineErrors counted(line.path());
        QVERIFY(uncounted.sinceStart().isNull() && LineErrors("/nowhere").sinceStart().isNull());
        counters->frame = 1, counters->parity = 2, counters->overrun = 3, counters->brk = 4;
        counters->buf_overrun = 5;
        const QJsonObject all{
            {"framing", 1}, {"parity", 2}, {"overrun", 3}, {"break", 4}, {"bufferOverrun", 5}};
        QCOMPARE(counted.sinceStart().toObject(), all);
        counters.reset(); // the adapter has gone
        QVERIFY(counted.sinceStart().isNull());
    }

    void judges()
    {
        constexpr auto unjudged =
            "; loss skipped; longest round trip skipped; 99th percentile skipped";
        // Sent, lost, longest round trip and 99th percentile in ms, loss limit, line lost, file
        // fault; status, what broke with its reason, or was not judged.
        for (const auto& [sent, lost, ms, p99, limit, lineLost, fault, status, told] : {
                 std::tuple(1000U, 1U, 5.25, 4.5, 0.1, false, "", 0, QString()),
                 {1000U, 2U, 5.251, 4.501, 0.1, false, "", 1,
                  "loss: 2 of 1000 packets were lost (0.2 %), allowed are 0.1 %; longest round "
                  "trip: the longest round trip took 5.251 ms, allowed are 5.25 ms; 99th "
                  "percentile: 1 round trip in 100 took 4.501 ms, allowed are 4.5 ms"},
                 {7U, 2U, 5250.001, 4.4, 28.6, false, "", 1,
                  "longest round trip: the longest round trip took 5250 ms, allowed are 5.25 ms"},
                 {7U, 2U, 0.1, 0.1, 28.5, false, "", 1,
                  "loss: 2 of 7 packets were lost (28.57 %), allowed are 28.5 %"},
                 {0U, 0U, 0., 0., 100, false, "", 1,
                  QString("traffic: no packet was sent") + unjudged},
                 {9U, 9U, 0., 0., 100, false, "", 1,
                  QString("traffic: none of 9 packets came back") + unjudged},
                 {100U, 9U, 5, 1., 9, true, "", 4, "line: the line was lost during the run"},
                 {100U, 9U, 5, 1., 0, true, "full", 5,
                  "files: full; line: the line was lost during the run; loss: 9 of 100 packets "
                  "were lost (9 %), allowed are 0 %"},
             }) {
            RunOptions options;
            options.maxLossPercent = limit;
            options.maxLatencyMs = 5.25;
            options.maxP99Ms = 4.5;
            RunOutcome outcome{.stats = {sent, sent - lost, lost, 0, 12, 3, 40},
                               .lineLost = lineLost,
                               .outputFault = fault};
            if (sent > lost)
                outcome.figures.latencyUs = {.p99 = p99 * 1000, .maximum = ms * 1000};
            const Verdict verdict = judge(options, outcome);
            QStringList seen, reasons;
            for (const Check& check : verdict.checks) {
                if (check.result == Check::Result::Skipped)
                    seen += check.name + " skipped";
                if (check.result == Check::Result::Broken)
                    seen += check.name + ": " + check.reason, reasons += check.reason;
            }
            QCOMPARE(seen.join("; "), told);
            QCOMPARE(verdict.reasons(), reasons);
            QCOMPARE(verdict.checks.size(), 6);
            QCOMPARE(int(verdict.status), status);
            const QJsonObject report = runReport(options, outcome, verdict);
            const auto timed = [&](int whole) {
                return sent > lost ? QJsonValue(whole) : QJsonValue();
            };
            const QJsonObject latency{
                {"average", timed(12)}, {"minimum", timed(3)}, {"maximum", timed(40)}};
            QCOMPARE(report["latencyMs"].toObject(), latency);
            QCOMPARE(report["successRatePercent"].isNull(), sent == 0);
            QVERIFY(report["achievedPacketsPerSecond"].isNull()); // nothing took any time
            QVERIFY(report["estimatedTrafficToModule"]["bytesPerSecond"].isNull());
        }
        QCOMPARE(judge({}, {}).checks.size(), 4); // no limit, nothing judged by it
    }

    void writesWhatXmlCannotHold()
    {
        RunOptions options;
        options.port = "/dev/<x>";
        options.tags = {{"cable\x01", "<\x01&\"\t\uFFFE"}};
        RunOutcome outcome{.stats = {.startTime = 1'790'000'000'123},
                           .lastedMs = 1500,
                           .outputFault = "\x1F\uFFFD"};
        const QByteArray xml = junitReport(options, outcome, judge(options, outcome));
        for (const char* part :
             {"name=\"packetbrask-run /dev/&lt;x&gt;\" tests=\"4\" failures=\"2\" skipped=\"1\"",
              "<property name=\"cable\uFFFD\" value=\"&lt;\uFFFD&amp;&quot;&#9;\uFFFD\"/>",
              "<failure message=\"\uFFFD\uFFFD\"/>"})
            QVERIFY2(xml.contains(part), xml);
        QCOMPARE(outcome.start().toMSecsSinceEpoch(), 1'790'000'000'123);
        QCOMPARE(outcome.start().msecsTo(outcome.end()), 1500);
        QVERIFY(!junitReport({}, {}, {}).contains("properties"));
    }

    void tellsTheStatus()
    {
        const TestStats stats{120, 100, 20};
        const auto second = [](std::optional<double> p50, std::optional<double> p99) {
            return std::optional(TimeSpan{0, 1, 0, 0, 0, p50, p99, {}});
        };
        const QString counts = " | sent 120, received 100, lost 20 | ";
        QCOMPARE(statusText(stats, 0, 0, {}), "0 s" + counts + "0.0/s");
        QCOMPARE(statusText(stats, 1600, 0, {}), "2 s" + counts + "75.0/s");
        QCOMPARE(statusText(stats, 8000, 1, second(9999, 10000)),
                 "8 s of 1 s" + counts + "15.0/s | p50 10.00, p99 10 ms");
        QCOMPARE(statusText(stats, 1, 0, second(1234, 56789)),
                 "0 s" + counts + "120000.0/s | p50 1.23, p99 57 ms");
        QCOMPARE(statusText(stats, 1600, 0, second({}, {})), "2 s" + counts + "75.0/s");
    }

    void keepsWholeRows()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath("rows"));
        EventWriter rows;
        QVERIFY(rows.add({}, "INFO", "nobody") && rows.close()); // not open
        QVERIFY(rows.open(file.fileName()) && rows.add({}, "INFO", "one"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray before = file.readAll(); // each row is there at once
        rlimit usual{};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &usual), 0);
        const rlimit small{rlim_t(before.size()) + 5, usual.rlim_max};
        const auto previous = std::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &small);
        const bool written = rows.add({}, "INFO", "two and three");
        ::setrlimit(RLIMIT_FSIZE, &usual);
        std::signal(SIGXFSZ, previous);
        QVERIFY(!written && rows.add({}, "INFO", "four") && !rows.close());
        QVERIFY(!rows.open(file.fileName()));
        QCOMPARE(rows.fault(), "cannot write the event file " + file.fileName() + ": " +
                                   qt_error_string(EFBIG)); // the first one
        QVERIFY(before.count('\n') == 2 && file.seek(0));
        QCOMPARE(file.readAll(), before);
    }

    void losesALineOnce()
    {
        RunObserver observer(nullptr, 100);
        QSignalSpy lost(&observer, &RunObserver::lineLost);
        quint64 id = 0;
        for (int run = 1; run <= 2; ++run) {
            observer.runBegan(0);
            // Failures without a ping sent between them, for longer than the time-out.
            for (const auto& [atNs, sent, count] : {std::tuple(0, false, run - 1),
                                                    {90'000'000, true, run - 1},
                                                    {101'000'000, false, run - 1},
                                                    {201'000'000, false, run - 1},
                                                    {201'000'001, false, run},
                                                    {900'000'000, false, run}}) {
                if (sent)
                    observer.pingSent({id, 8, -1, atNs});
                else
                    observer.sendFailed(id, 8, atNs);
                ++id;
                QCOMPARE(lost.count(), count);
            }
            id = 0;
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
        QCOMPARE(openFault("/nowhere"), qt_error_string(ENOENT));
        QCOMPARE(openFault("/dev/null"), "no usable serial line: " + qt_error_string(ENOTTY));
    }

    void namesWhoHasThePort()
    {
        const RawLine line;
        const PortUser us{::getpid(), "test_run_rules"};
        const QString used =
            QStringLiteral("in use by test_run_rules (process %1)").arg(us.processId);
        QVERIFY(lockHolders(line.path()).isEmpty() && lockHolders("/nowhere").isEmpty());
        QCOMPARE(::flock(line.otherEnd(), LOCK_EX), 0);
        QCOMPARE(lockHolders(line.path()), QList{us});
        QCOMPARE(openFault(line.path()), used);
        QCOMPARE(::flock(line.otherEnd(), LOCK_UN), 0);
        QCOMPARE(openFault(line.path()), QString());
        QVERIFY(runningPrograms({"none", us.program}).contains(us) &&
                runningPrograms({"none"}).isEmpty());
        QCOMPARE(inUseText({us, {7, ""}}), used + ", a program (process 7)");
        QCOMPARE(inUseText({}), "in use by another program");
    }
};

QTEST_GUILESS_MAIN(RunRulesTest)
#include "run_rules_test.moc"
