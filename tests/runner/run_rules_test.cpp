#include "measure/figuresJson.h"
#include "runner/EventWriter.h"
#include "runner/LineErrors.h"
#include "runner/LineWatch.h"
#include "runner/PingLog.h"
#include "runner/RunObserver.h"
#include "runner/TerminalOutput.h"
#include "runner/junitReport.h"
#include "runner/lineCapacity.h"
#include "runner/openFault.h"
#include "runner/portUsers.h"
#include "runner/reportTarget.h"
#include "runner/runReport.h"
#include "runner/statusText.h"
#include "tests/support/RawLine.h"

#include <QDir>
#include <QJsonArray>
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
    void refusesOptions()
    {
        const QString whole = " is not allowed, only a whole number from ";
        const QString latency = " is not allowed, only a number from 0 to 60000";
        const QString bauds = "1200, 1800, 2400, 4800, 9600, 19200, 38400, 115200";
        for (const auto& [line, message] : {
                 std::pair(QString("--rate=0"),
                           QString("--port: missing, the path of a device has to be given; --list "
                                   "shows which there are")),
                 {"--port=", "--port: \"\" is not allowed, only a path"},
                 {"--port=x y", "\"y\" is not allowed, only options; --help lists them"},
                 {"--list y", "\"y\" is not allowed, only options; --help lists them"},
                 {"--rat=1", "Unknown option 'rat'. --help tells what is allowed."},
                 {"--baud=57600", "--baud: \"57600\" is not allowed, only " + bauds},
                 {"--baud=115201", "--baud: \"115201\" is not allowed, only " + bauds},
                 {"--baud=x", "--baud: \"x\" is not allowed, only " + bauds},
                 {"--rate=2.5", "--rate: \"2.5\"" + whole + "1 to 1000"},
                 {"--rate=0", "--rate: \"0\"" + whole + "1 to 1000"},
                 {"--rate=1001", "--rate: \"1001\"" + whole + "1 to 1000"},
                 {"--min-size=-1", "--min-size: \"-1\"" + whole + "0 to 124"},
                 {"--min-size=125", "--min-size: \"125\"" + whole + "0 to 124"},
                 {"--max-size=125", "--max-size: \"125\"" + whole + "0 to 124"},
                 {"--max-size=8 --min-size=9",
                  "--min-size: \"9\" is not allowed, only at most the --max-size, which is 8"},
                 {"--timeout=49", "--timeout: \"49\"" + whole + "50 to 5000"},
                 {"--timeout=5001 --rate=0", "--rate: \"0\"" + whole + "1 to 1000"}, // the first
                 {"--timeout=5001", "--timeout: \"5001\"" + whole + "50 to 5000"},
                 {"--duration=3601", "--duration: \"3601\"" + whole + "0 to 3600"},
                 {"--events=", "--events: \"\" is not allowed, only a path"},
                 {"--pings=", "--pings: \"\" is not allowed, only a path"},
                 {"--json=", "--json: \"\" is not allowed, only a path"},
                 {"--junit=", "--junit: \"\" is not allowed, only a path"},
                 {"--json=- --junit=-",
                  "--junit: \"-\" is not allowed, only another file than that of --json"},
                 {"--events=p --pings=q/../p",
                  "--pings: \"q/../p\" is not allowed, only another file than that of --events"},
                 {"--max-loss=nan",
                  "--max-loss: \"nan\" is not allowed, only a number from 0 to 100"},
                 {"--max-loss=100.1",
                  "--max-loss: \"100.1\" is not allowed, only a number from 0 to 100"},
                 {"--max-latency=-1", "--max-latency: \"-1\"" + latency},
                 {"--max-p99=60000.1", "--max-p99: \"60000.1\"" + latency},
                 {"--timing=best", "--timing: \"best\" is not allowed, only exact or window"},
                 {"--tag=key", "--tag: \"key\" is not allowed, only a key, = and a value"},
                 {"--tag==value", "--tag: \"=value\" is not allowed, only a key, = and a value"},
                 {"--tag=a=1 --tag=b=1 --tag=a=2",
                  "--tag: \"a=2\" is not allowed, only keys that differ"},
             }) {
            QStringList arguments{"program", "--port=x"};
            if (line == "--rate=0" && message.startsWith("--port"))
                arguments.removeLast();
            const RunOptions options = parseRunOptions(arguments + line.split(' '));
            QCOMPARE(options.message, message);
            QCOMPARE(options.outcome, RunOptions::Outcome::Error);
        }
    }

    void takesOptions()
    {
        const auto read = [](const QString& line) {
            return parseRunOptions(("program " + line).split(' '));
        };
        const RunOptions plain = read("--port=x");
        QVERIFY(plain.outcome == RunOptions::Outcome::Run && plain.message.isEmpty());
        QVERIFY(plain.writesScreen && !plain.quiet && !plain.maxLatencyMs && !plain.maxP99Ms);
        QCOMPARE(plain.timing, RunOptions::Timing::Exact);
        QCOMPARE(read("--list").outcome, RunOptions::Outcome::ListPorts);
        QCOMPARE(read("--check --port=x").outcome, RunOptions::Outcome::CheckPort);
        QCOMPARE(read("--check").outcome, RunOptions::Outcome::Error);
        QCOMPARE(read("--version").message, "packetbrask-run " PROGRAM_VERSION "\n");
        QCOMPARE(read("-h y").outcome, RunOptions::Outcome::ShowText);
        const QString files = " --events=e --pings=p --json=- --junit=u --no-screen --quiet";
        const QString tags = " --timing=window --tag=a=b=c --tag=d=";
        for (const auto& [line, baud, config, loss, latency, p99] :
             {std::tuple(QString("--baud=1200 --rate=1 --min-size=0 --max-size=0 --timeout=50 "
                                 "--duration=0 --max-loss=0 --max-latency=0 --max-p99=0"),
                         1200, std::array{1, 0, 0, 50, 0}, 0., 0., 0.),
              {"--baud=38400 --rate=1000 --min-size=124 --max-size=124 --timeout=5000 "
               "--duration=3600 --max-loss=100 --max-latency=60000 --max-p99=60000",
               38400,
               {1000, 124, 124, 5000, 3600},
               100.,
               60000.,
               60000.},
              {"--baud=9600 --baud=4800 --rate=12 --min-size=3 --max-size=4 --timeout=567 "
               "--duration=89 --max-loss=1.5 --max-latency=2.5 --max-p99=3.5",
               4800,
               {12, 3, 4, 567, 89},
               1.5,
               2.5,
               3.5}}) {
            const RunOptions seen = read("--port=/dev/x " + line + files + tags);
            QCOMPARE(seen.message, QString());
            QVERIFY(seen.outcome == RunOptions::Outcome::Run && seen.port == "/dev/x");
            QCOMPARE(seen.baudRate, baud);
            const TestConfig& to = seen.config;
            QCOMPARE((std::array{to.packetsPerSecond, to.minDataSize, to.maxDataSize, to.timeoutMs,
                                 to.durationSec}),
                     config);
            QCOMPARE((std::array{seen.maxLossPercent, *seen.maxLatencyMs, *seen.maxP99Ms}),
                     (std::array{loss, latency, p99}));
            QCOMPARE((QStringList{to.csvFilePath, seen.pingPath, seen.reportPath, seen.junitPath}),
                     (QStringList{"e", "p", "-", "u"}));
            QCOMPARE(seen.tags, (QMap<QString, QString>{{"a", "b=c"}, {"d", ""}}));
            QVERIFY(!seen.writesScreen && seen.quiet);
            QCOMPARE(seen.timing, RunOptions::Timing::Window);
        }
    }

    void countsWhatTheLineCarries()
    {
        const LineUse pingsOnly{.writesScreen = false};
        const LineUse exact{.wholeMilliseconds = false, .writesScreen = false};
        for (const auto& [config, baud, use, warning] : {
                 std::tuple(TestConfig{10, 116, 116}, 13200, pingsOnly, ""), // just fits
                 {TestConfig{10, 116, 116}, 13199, exact,
                  "10 packets/s of 120 bytes need 13200 bits/s at 11 bits a byte; 13199 baud "
                  "carries 10.0 frames/s"},
                 {TestConfig{501, 7, 10}, 115200, pingsOnly,
                  "501 packets/s, sent as 1000 (one every 1 ms), of 12.8 bytes on average need "
                  "140250 bits/s at 11 bits a byte; 115200 baud carries 821.4 frames/s"},
                 {TestConfig{300, 8, 9}, 40000, pingsOnly,
                  "300 packets/s, sent as 333.3 (one every 3 ms), of 12.5 bytes on average need "
                  "45833.3 bits/s at 11 bits a byte; 40000 baud carries 290.9 frames/s"},
                 {TestConfig{501, 8, 8}, 66132, exact, ""},
                 {TestConfig{501, 1, 8}, 66131, exact,
                  "501 packets/s of 12 bytes need 66132 bits/s at 11 bits a byte; 66131 baud "
                  "carries 501.0 frames/s"},
                 {TestConfig{5, 8, 8, 500, 30}, 1331, LineUse{}, ""},
                 {TestConfig{5, 8, 8, 500, 30}, 1200, LineUse{},
                  "5 packets/s of 12 bytes and 61 bytes/s for the module's screen need 1331 bits/s "
                  "at 11 bits a byte; 1200 baud carries 4.0 frames/s beside the screen"},
                 // The longest run sends 18 000, one of a second 5.
                 {TestConfig{5, 8, 8, 99, 0}, 1200, LineUse{},
                  "5 packets/s of 12 bytes and 64 bytes/s for the module's screen need 1364 bits/s "
                  "at 11 bits a byte; 1200 baud carries 3.8 frames/s beside the screen"},
                 {TestConfig{5, 8, 8, 99, 1}, 1200, LineUse{},
                  "5 packets/s of 12 bytes and 56 bytes/s for the module's screen need 1276 bits/s "
                  "at 11 bits a byte; 1200 baud carries 4.4 frames/s beside the screen"},
             })
            QCOMPARE(capacityWarning(config, baud, use), warning);
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
        constexpr int none = TestStats::noLatencyYet;
        const QString line = "line: the line was lost during the run";
        // Sent, lost, longest round trip and 99th percentile in ms, loss limit, line lost, file
        // fault; status, word, what broke with its reason, or was not judged.
        for (const auto& [sent, lost, ms, p99, limit, lineLost, fault, status, word, told] : {
                 std::tuple(1000U, 1U, 5.25, 4.5, 0.1, false, "", 0, "passed", QStringList()),
                 {1000U,
                  2U,
                  5.251,
                  4.501,
                  0.1,
                  false,
                  "",
                  1,
                  "failed",
                  {"loss: 2 of 1000 packets were lost (0.2 %), allowed are 0.1 %",
                   "longest round trip: the longest round trip took 5.251 ms, allowed are 5.25 ms",
                   "99th percentile: 1 round trip in 100 took 4.501 ms, allowed are 4.5 ms"}},
                 {7U,
                  2U,
                  5250.001,
                  4.4,
                  28.6,
                  false,
                  "",
                  1,
                  "failed",
                  {"longest round trip: the longest round trip took 5250 ms, allowed are 5.25 ms"}},
                 {7U,
                  2U,
                  0.1,
                  0.1,
                  28.5,
                  false,
                  "",
                  1,
                  "failed",
                  {"loss: 2 of 7 packets were lost (28.57 %), allowed are 28.5 %"}},
                 {0U,
                  0U,
                  0.,
                  0.,
                  100,
                  false,
                  "",
                  1,
                  "failed",
                  {"traffic: no packet was sent", "loss skipped", "longest round trip skipped",
                   "99th percentile skipped"}},
                 {9U,
                  9U,
                  0.,
                  0.,
                  100,
                  false,
                  "",
                  1,
                  "failed",
                  {"traffic: none of 9 packets came back", "loss skipped",
                   "longest round trip skipped", "99th percentile skipped"}},
                 {100U, 9U, 5, 1., 9, true, "", 4, "lineLost", {line}},
                 {100U,
                  9U,
                  5,
                  1.,
                  0,
                  true,
                  "full",
                  5,
                  "outputFailed",
                  {"files: full", line, "loss: 9 of 100 packets were lost (9 %), allowed are 0 %"}},
             }) {
            RunOptions options;
            options.maxLossPercent = limit;
            options.maxLatencyMs = 5.25;
            options.maxP99Ms = 4.5;
            RunOutcome outcome{.stats = {sent, sent - lost, lost, 0, none, none, none},
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
            QCOMPARE(seen, told);
            QCOMPARE(verdict.reasons(), reasons);
            QCOMPARE(verdict.checks.size(), 6);
            QCOMPARE(int(verdict.status), status);
            const QJsonObject report = runReport(options, outcome, verdict);
            QCOMPARE(report["verdict"].toString(), word);
            QCOMPARE(report["latencyMs"]["minimum"].isNull(), sent == lost);
            QCOMPARE(report["successRatePercent"].isNull(), sent == 0);
            QVERIFY(report["achievedPacketsPerSecond"].isNull()); // nothing took any time
            QVERIFY(report["estimatedTrafficToModule"]["bytesPerSecond"].isNull());
        }
        QCOMPARE(judge({}, {}).checks.size(), 4); // no limit, nothing judged by it
    }

    void reports()
    {
        RunOptions options;
        options.port = "/dev/<x>";
        options.baudRate = 9600;
        options.config = {20, 8, 12, 300, 40, "events"};
        options.pingPath = "pings";
        options.maxLossPercent = 1.5;
        options.maxP99Ms = 2.5;
        options.tags = {{"cable", "<\x01&\"\t\uFFFE"}, {"n", "1"}};
        const RunOutcome outcome{
            .stats = {4000, 3000, 1000, 75, 12, 3, 40, 1'790'000'000'123},
            .figures = {.sendingNs = 40'000'000'400, .latencyUs = {{.p99 = 2600, .maximum = 9e6}}},
            .lastedMs = 41'500,
            .host = "host",
            .adapter = "adapter",
            .lineErrors = "errors"};
        const Verdict verdict = judge(options, outcome);
        const QString loss = "1000 of 4000 packets were lost (25 %), allowed are 1.5 %";
        const QString p99 = "1 round trip in 100 took 2.6 ms, allowed are 2.5 ms";
        QJsonObject expected = figuresJson(outcome.figures);
        const auto add = [&expected](const QJsonObject& members) {
            for (auto member = members.begin(); member != members.end(); ++member)
                expected.insert(member.key(), member.value());
        };
        add({{"program", "packetbrask-run"}, {"version", PROGRAM_VERSION}, {"format", 2}});
        add({{"tags", QJsonObject{{"cable", "<\x01&\"\t\uFFFE"}, {"n", "1"}}}, {"host", "host"}});
        add({{"configuration", QJsonObject{{"port", "/dev/<x>"},
                                           {"baudRate", 9600},
                                           {"packetsPerSecond", 20},
                                           {"minDataSizeBytes", 8},
                                           {"maxDataSizeBytes", 12},
                                           {"timeoutMs", 300},
                                           {"durationSeconds", 40},
                                           {"moduleScreen", true},
                                           {"maxLossPercent", 1.5},
                                           {"maxLatencyMs", {}},
                                           {"maxP99Ms", 2.5},
                                           {"eventFile", "events"},
                                           {"pingFile", "pings"}}}});
        add({{"adapter", "adapter"}, {"timing", "exact"}, {"lineErrors", "errors"}});
        add({{"start", outcome.start()
                           .toOffsetFromUtc(outcome.start().offsetFromUtc())
                           .toString(Qt::ISODateWithMs)},
             {"end", outcome.end()
                         .toOffsetFromUtc(outcome.end().offsetFromUtc())
                         .toString(Qt::ISODateWithMs)}});
        QCOMPARE(outcome.start().msecsTo(outcome.end()), 41'500);
        QCOMPARE(outcome.start().toMSecsSinceEpoch(), 1'790'000'000'123);
        add({{"sendingSeconds", 40}, {"requestedPacketsPerSecond", 20}});
        add({{"achievedPacketsPerSecond", 100}, {"packetsSent", 4000}, {"packetsReceived", 3000}});
        add({{"packetsLost", 1000}, {"successRatePercent", 75}, {"exitStatus", 1}});
        add({{"latencyMs", QJsonObject{{"average", 12}, {"minimum", 3}, {"maximum", 40}}}});
        // 100 and 75 a second of 14 bytes; 23, 6 + 15, 6 + 9 and 6 + 9 for the screen, or 4 for
        // each.
        add({{"estimatedTrafficToModule",
              QJsonObject{{"bytesPerSecond", 1476}, {"lineSharePercent", 169.12}}},
             {"estimatedTrafficFromModule",
              QJsonObject{{"bytesPerSecond", 1066}, {"lineSharePercent", 122.15}}}});
        add({{"verdict", "failed"}, {"reasons", QJsonArray{loss, p99}}});
        const QJsonObject report = runReport(options, outcome, verdict);
        for (const QString& name : report.keys() + expected.keys())
            QVERIFY2(report[name] == expected[name], qPrintable(name));
        options.timing = RunOptions::Timing::Window;
        options.writesScreen = false;
        const QJsonObject other = runReport(options, outcome, verdict);
        QCOMPARE(other["timing"], "window");
        QCOMPARE(other["estimatedTrafficFromModule"]["bytesPerSecond"], 1050);

        const QString head =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<testsuite name=\"packetbrask-run /dev/&lt;x&gt;\" tests=\"5\" "
            "failures=\"2\" skipped=\"0\" timestamp=\"%1\" time=\"40.000\">\n"
            "    <properties>\n"
            "        <property name=\"cable\" value=\"&lt;\uFFFD&amp;&quot;&#9;\uFFFD\"/>\n"
            "        <property name=\"n\" value=\"1\"/>\n"
            "    </properties>\n";
        const QString kept = "    <testcase classname=\"packetbrask-run\" name=\"%1\"/>\n";
        const QString broken = "    <testcase classname=\"packetbrask-run\" name=\"%1\">\n"
                               "        <failure message=\"%2\"/>\n"
                               "    </testcase>\n";
        QCOMPARE(QString::fromUtf8(junitReport(options, outcome, verdict)),
                 head.arg(outcome.start().toString(Qt::ISODate)) + kept.arg("files") +
                     kept.arg("line") + kept.arg("traffic") + broken.arg("loss", loss) +
                     broken.arg("99th percentile", p99) + "</testsuite>\n");
        const QByteArray plain = junitReport({}, {}, judge({}, {}));
        QVERIFY(plain.contains("failures=\"1\" skipped=\"1\"") && !plain.contains("properties"));
        QCOMPARE(plain.count("<skipped/>"), 1);
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

    void drawsOnATerminal()
    {
        RawLine line;
        const int before = ::dup(STDERR_FILENO);
        ::dup2(line.otherEnd(), STDERR_FILENO);
        const QDateTime time({2026, 1, 2}, {3, 4, 5, 6});
        const winsize narrow{.ws_row = 4, .ws_col = 9, .ws_xpixel = 0, .ws_ypixel = 0};
        const auto show = [&time](bool quiet) {
            TerminalOutput output(quiet);
            output.showStatus({});
            output.log(time, "INFO", "a");
            output.showStatus(QString(90, 'x'));
            output.log(time, "SUCCESS", "b");
            output.log(time, "WARNING", "c");
            output.showStatus({});
            output.log(time, "TIMEOUT", "d");
            output.log(time, "ERROR", "e");
            output.complain("f");
            output.showStatus("on");
        };
        const auto shown = [](const QByteArray& status, auto coloured) {
            const QByteArray at = "[03:04:05.006] ", erase = "\r\033[K";
            return at + "INFO: a\n" + erase + status + erase +
                   coloured("\033[32m", at + "SUCCESS: b") + '\n' + status + erase +
                   coloured("\033[33m", at + "WARNING: c") + '\n' + status + erase +
                   coloured("\033[33m", at + "TIMEOUT: d") + '\n' +
                   coloured("\033[31m", at + "ERROR: e") + "\npacketbrask-run: f\n" + erase + "on" +
                   erase;
        };
        const auto colour = [](const char* code, const QByteArray& text) {
            return code + text + "\033[0m";
        };
        QList<std::pair<QByteArray, QByteArray>> seen;
        const auto compare = [&](bool quiet, const QByteArray& expected) {
            show(quiet);
            seen += {line.take(expected.size()), expected};
        };
        ::qunsetenv("NO_COLOR");
        compare(false, shown(QByteArray(79, 'x'), colour));
        ::ioctl(STDERR_FILENO, TIOCSWINSZ, &narrow);
        ::qputenv("NO_COLOR", "1");
        compare(false, shown(QByteArray(8, 'x'), [](auto, auto text) { return text; }));
        compare(true, "packetbrask-run: f\n");
        ::dup2(before, STDERR_FILENO);
        ::close(before);
        for (const auto& [got, expected] : seen)
            QCOMPARE(got, expected);
    }

    void keepsWholeRows()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath("rows");
        const auto content = [&path] {
            QFile file(path);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
        };
        RowFile rows("the row file");
        QVERIFY(rows.append("nobody\n") && rows.close() && rows.fault().isEmpty()); // not open
        QVERIFY(rows.open(path, "head\n") && rows.isOpen() && rows.append("one\n"));
        QCOMPARE(content(), "head\none\n");
        rlimit usual{};
        QVERIFY(::getrlimit(RLIMIT_FSIZE, &usual) == 0);
        const rlimit small{15, usual.rlim_max};
        const auto previous = std::signal(SIGXFSZ, SIG_IGN);
        QVERIFY(::setrlimit(RLIMIT_FSIZE, &small) == 0);
        const bool written = rows.append("two and three\n");
        ::setrlimit(RLIMIT_FSIZE, &usual);
        std::signal(SIGXFSZ, previous);
        const QString fault = "cannot write the row file " + path + ": ";
        QVERIFY(!written && !rows.isOpen());
        QCOMPARE(rows.fault(), fault + qt_error_string(EFBIG));
        QVERIFY(rows.append("four\n") && !rows.close());
        QCOMPARE(content(), "head\none\n");
        QVERIFY(!rows.open(path, "head\n"));
        QCOMPARE(rows.fault(), fault + qt_error_string(EFBIG)); // the first one
        EventWriter events;
        QVERIFY(events.add({}, "INFO", "before") && !events.open(path));
        QCOMPARE(events.fault(),
                 "cannot write the event file " + path + ": " + qt_error_string(EEXIST));
    }

    void logsPings()
    {
        const QTemporaryDir folder;
        PingLog log;
        QVERIFY(log.open(folder.filePath("pings")));
        using enum PingFate;
        log.pingEnded({0, 8, Received, 0, 1234});
        log.pingEnded({1, 9, ReceivedAfterEnd, 1'000'060, 0});
        QFile file(folder.filePath("pings"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), "Number,SizeBytes,SentUs,Fate,RoundTripUs\n");
        QVERIFY(log.flush() && log.flush());
        QCOMPARE(file.readAll(), "0,8,0.0,received,1.2\n1,9,1000.1,receivedAtEnd,0.0\n");
        for (const auto& [id, fate] :
             {std::pair(2U, NoEchoInTime), {3U, NoEchoAtEnd}, {4U, NotSent}})
            log.pingEnded({id, 124, fate, 2'000'000, -1});
        log.pingEnded({quint64(-1), 124, ChangedEcho, 3'000'000'000'000, 5'000'000'000});
        QVERIFY(log.close());
        QCOMPARE(file.readAll(), "2,124,2000.0,noEchoInTime,\n3,124,2000.0,noEchoAtEnd,\n"
                                 "4,124,2000.0,notSent,\n"
                                 "18446744073709551615,124,3000000000.0,changedEcho,5000000.0\n");
    }

    void replacesReports()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath("report");
        QVERIFY(reportTargetFault({}).isEmpty() && reportTargetFault("-").isEmpty());
        QVERIFY(reportTargetFault(path).isEmpty() && writeReport({}, "x").isEmpty());
        QVERIFY(QDir(folder.path()).isEmpty()); // tried, not made
        for (const char* text : {"longer", "short"})
            QVERIFY(writeReport(path, text).isEmpty() && reportTargetFault(path).isEmpty());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), "short");
        QCOMPARE(reportTargetFault("/dev/null"),
                 "cannot write the report to /dev/null: it is there and no regular file");
        QVERIFY(writeReport("/none/x", "").startsWith("cannot write the report to /none/x: "));
        QVERIFY(reportTargetFault("/none/x").startsWith("cannot write the report to /none/x: "));
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
