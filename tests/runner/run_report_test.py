#!/usr/bin/python3
"""MODULE RUNNER DOCS: all that a run writes, held against the module's account of it and the documents."""

import concurrent.futures, csv, datetime, json, math, os, pathlib, platform, pty, re, subprocess
import sys, tempfile, termios, time, unittest, xml.etree.ElementTree

import jsonschema

import helpers

MODULE, RUNNER, DOCS = *sys.argv[1:3], pathlib.Path(sys.argv[3])
del sys.argv[1:]
DOCUMENT = (DOCS / "runner.md").read_text(encoding="utf-8")
SCHEMA = json.loads((DOCS / "run.schema.json").read_text(encoding="utf-8"))
RECEIVED, GIVEN_UP = {"received", "receivedAtEnd"}, {"noEchoInTime", "noEchoAtEnd"}
FAST = {"rate": 300, "timeout": 1000, "min-size": 4, "max-size": 32}
MANY = ["--drop=.1", "--alter=.1", "--duplicate=.2", "--error-reply=.1", "--report=.1", "--truncate=.1", "--split=.05",
        "--corrupt=.03"]
# Options of the module and of the runner, exit status.
CASES = {
    "passes by the defaults": ([], {}, 0),
    "passes with the window's timing": (["--baud=38400"], FAST | {"timing": "window", "max-latency": 60000, "rate": 50}, 0),
    "fails": (MANY, FAST | {"max-p99": 0.001, "max-latency": 1, "max-loss": 50}, 1),
    "overtakes": (["--delay=5", "--jitter=60"], FAST | {"max-loss": 100, "min-size": 32, "rate": 200, "no-screen": None}, 0),
    "answers late": (["--delay=200", "--jitter=400"], FAST | {"timeout": 400, "max-loss": 100}, 0),
    "has no echo": (["--drop=1"], {"timeout": 50, "tag": "cable=a=\u00e4", "quiet": None, "baud": 1200}, 1),
    "loses its line": (["--unplug-after=2"], FAST | {"duration": 0, "max-loss": 100, "timeout": 60}, 4)}


def rows_of(title):
    return helpers.rows_of(DOCUMENT, title)


def table(path):
    with open(path, encoding="ascii", newline="") as file:
        return list(csv.DictReader(file))


class Run:
    """One run against a module of its own, and all that both of them wrote."""

    def __init__(self, faults, options):
        self.options = {"port": None, "duration": 1, "max-left-out": 100} | options
        self.delay_us = sum(1000 * int(fault[8:]) for fault in faults if fault.startswith("--delay="))
        with tempfile.TemporaryDirectory() as folder:
            files = {kind: pathlib.Path(folder, kind) for kind in ("ledger", "summary", "junit", "pings", "events")}
            with subprocess.Popen([MODULE, "--seed=3", f"--ledger={files['ledger']}", f"--summary={files['summary']}",
                                   *faults], stdout=subprocess.PIPE, text=True) as module:
                self.options["port"] = module.stdout.readline().strip()
                self.options |= {kind: str(files[kind]) for kind in ("events", "pings", "junit")}
                given = [f"--{name}" if value is None else f"--{name}={value}" for name, value in self.options.items()]
                self.began = time.time()
                # In a session of its own, as a service, which the port might hang up.
                done = subprocess.run([RUNNER, *given, "--json=-"], capture_output=True, start_new_session=True,
                                      timeout=100, check=False)
                self.ended, self.status = time.time(), done.returncode
                module.terminate()
            self.report, self.errors = json.loads(done.stdout), done.stderr.decode().splitlines()
            self.ledger = {int(row["Number"]): row for row in table(files["ledger"])}
            self.summary = json.loads(files["summary"].read_bytes())
            self.rows, self.events = table(files["pings"]), table(files["events"])
            self.suite = xml.etree.ElementTree.parse(files["junit"]).getroot()
        for row in self.rows:
            row["Fault"] = self.ledger.get(int(row["Number"]), {"Fate": "unread"})["Fate"].split("+")
            row["Doubled"] = "duplicated" in self.ledger.get(int(row["Number"]), {}).get("Extras", "").split("+")
        self.sent = [row for row in self.rows if row["Fate"] != "notSent"]
        self.echoed = [row for row in self.rows if row["Fate"] in RECEIVED]
        self.times = [float(row["RoundTripUs"]) for row in self.echoed]


def of_each_run(test):
    def all_runs(self):
        for name, run in self.runs.items():
            with self.subTest(case=name):
                test(self, name, run, run.report)
    return all_runs


class RunTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        with concurrent.futures.ThreadPoolExecutor(len(CASES)) as pool:
            cls.runs = dict(zip(CASES, pool.map(lambda case: Run(*case[:2]), CASES.values())))

    def near(self, value, times, share):
        """The value that `share` of the times do not exceed, exact to 2 %."""
        if not times:
            self.assertIsNone(value)
            return
        exact = sorted(times)[max(1, math.ceil(share * len(times))) - 1]
        self.assertAlmostEqual(value, exact, delta=0.02 * exact + 0.2)

    @of_each_run
    def test_every_ping_by_the_modules_ledger(self, name, run, report):
        numbers = [int(row["Number"]) for row in run.rows]
        self.assertEqual(numbers, [*range(len(numbers))])
        low, high = (max(8, run.options.get(key, usual)) for key, usual in (("min-size", 1), ("max-size", 124)))
        self.assertLessEqual({int(row["SizeBytes"]) for row in run.rows}, {*range(low, high + 1)})
        if name != "loses its line":
            self.assertEqual(set(numbers), set(run.ledger))
            self.assertEqual(report["packetsSent"], run.summary["pingsReceived"])
        if "line" not in name and "late" not in name:
            self.assertEqual(report["packetsReceived"], run.summary["echoesIntact"])
        for row in run.sent:
            fault = set(row["Fault"])
            fates = (RECEIVED | (GIVEN_UP if "late" in name else set()) if fault == {"intact"} else
                     {"changedEcho"} | GIVEN_UP if fault <= {"altered", "truncated"} else GIVEN_UP)
            self.assertIn(row["Fate"], fates if "line" not in name else RECEIVED | GIVEN_UP, row)
            self.assertEqual(row["RoundTripUs"] == "", row["Fate"] in GIVEN_UP)
            self.assertGreaterEqual(float(row["RoundTripUs"] or "inf"), run.delay_us)
            most = 1e12 if "window" in name else 1000 * run.options.get("timeout", 500)
            self.assertLessEqual(float(row["RoundTripUs"] or 0), most)

    @of_each_run
    def test_counts(self, name, run, report):
        fates = [row["Fate"] for row in run.rows]
        sent, received = len(run.sent), len(run.echoed)
        self.assertEqual([report[key] for key in ("packetsSent", "packetsReceived", "packetsLost", "sendFailures")],
                         [sent, received, sent - received, fates.count("notSent")])
        self.assertEqual(report["lossCauses"], {fate: fates.count(fate) for fate in (*GIVEN_UP, "changedEcho")})
        if (left := report["packetsLeftOut"]) is None or "line" not in name:
            self.assertEqual(left and len(fates) + sum(left.values()),
                             None if "window" in name else run.options.get("rate", 10))
        told, wrong = report["bytes"], any("corrupted" in row["Fault"] for row in run.rows)
        self.assertEqual((told["skipped"] > 0, told["overrun"]), (wrong, 0))
        if name.startswith(("passes", "overtakes")):  # the others are replies of the screen
            rest = told["inFrames"] - sum(int(row["SizeBytes"]) + 4 for row in run.echoed)
            self.assertIn(rest, range(0, 4 * run.summary["lcdRequests"] + 1, 4))
        lost = "".join("." if fate in RECEIVED else "x" for fate in fates if fate != "notSent").split(".")
        self.assertEqual(report["lossBursts"], {"count": len(lost) - lost.count(""), "longest": len(max(lost))})
        self.assertAlmostEqual(report["successRatePercent"], 100 * received / sent, delta=0.00005)
        seen, changed = report["unexpected"], {"altered", "truncated"}
        cut = [row for row in run.sent if row["Fate"] in GIVEN_UP and set(row["Fault"]) <= changed]
        self.assertEqual(seen["shortEchoes"] + seen["unknownEchoes"], sum(1 + row["Doubled"] for row in cut))
        for key, fault in (("shortEchoes", "truncated"), ("unknownEchoes", "altered")):
            self.assertGreaterEqual(seen[key], sum(1 + row["Doubled"] for row in cut if row["Fault"] == [fault]))
        answered = [row for row in run.rows if row["Fate"] not in GIVEN_UP and row["Doubled"]]
        errors = sum(1 + row["Doubled"] for row in run.rows if "errorReply" in row["Fault"] and
                     "corrupted" not in row["Fault"])
        late = sum(row["Fault"] == ["intact"] and row["Fate"] == "noEchoInTime" for row in run.rows)
        self.assertEqual(seen["repeatedEchoes"], len(answered))
        self.assertIn(seen["lateEchoes"], range(0 if "line" in name else late, late + 1))  # some were not read any more
        if name == "answers late":
            self.assertTrue(late > 100 and "receivedAtEnd" in fates)
        self.assertEqual(seen["errorReplies"], [{"code": 1, "text": "Unknown error", "count": errors}] * (errors > 0))
        self.assertEqual((seen["reports"], seen["otherPackets"]), (run.summary["reports"], 0))
        handed = sorted((float(entry["ArrivedUs"]) + float(entry["HeldUs"]), int(entry["Number"]))
                        for entry in run.ledger.values() if entry["Fate"] == "intact")
        if "line" not in name and "late" not in name:
            overtaken = sum(any(later > number for _, later in handed[:place][-100:])
                            for place, (_, number) in enumerate(handed))
            self.assertEqual(report["outOfOrderEchoes"], overtaken)
            self.assertEqual(overtaken > 10, name == "overtakes")

    @of_each_run
    def test_round_trips(self, name, run, report):
        us, times, count = report["latencyUs"], run.times, len(run.times)
        mean = sum(times) / count if times else None
        expected = {"minimum": min(times, default=None), "mean": mean, "maximum": max(times, default=None),
                    "standardDeviation": times and math.sqrt(sum((each - mean) ** 2 for each in times) / count) or None}
        for key, value in expected.items():
            self.assertAlmostEqual(us[key], value, delta=0.15, msg=key) if times else self.assertIsNone(us[key])
        for key, share in (("p50", 0.5), ("p90", 0.9), ("p99", 0.99), ("p999", 0.999)):
            self.near(us[key], times, share)
        self.assertEqual(sum(bin[2] for bin in report["latencyHistogramUs"]), count)
        for low, high, number in report["latencyHistogramUs"]:  # ends are rounded to 0.1 us
            self.assertGreaterEqual(number, sum(low + 0.1 < each < high - 0.1 for each in times))
            self.assertLessEqual(number, sum(low - 0.1 < each < high + 0.1 for each in times))
        whole, shown = report["latencyMs"], [int(row["Latency(ms)"]) for row in run.events if row["Latency(ms)"]]
        self.assertEqual([value is None for value in whole.values()], 3 * [not times])
        if times:
            self.assertLessEqual(whole["minimum"], min(shown + [whole["average"]]))
            self.assertGreaterEqual(whole["maximum"], max(shown + [whole["average"]]))
        lag, exact = report["sendLagUs"], "window" not in name
        late = [float(row["SentUs"]) - 1e6 * (int(row["Number"]) + 1) / run.options.get("rate", 10) for row in run.sent]
        if exact and max(late) < 20000 and name != "loses its line":  # behind that, the schedule moves
            began = max(late) - lag["maximum"]  # the schedule, after the run
            self.assertTrue(-0.2 < began < 20000)
            self.near(lag["p99"], [each - began for each in late], 0.99)
        self.assertEqual([value is None for value in lag.values()], 2 * [not exact])

    @of_each_run
    def test_times(self, name, run, report):
        start, end = (datetime.datetime.fromisoformat(report[key]).timestamp() for key in ("start", "end"))
        spans, sending = report["seconds"], report["sendingSeconds"]
        lasted = spans[-1]["start"] + spans[-1]["length"]
        self.assertTrue(run.began - 0.002 <= start and end <= run.ended and lasted - 0.1 <= end - start)
        self.assertTrue(float(run.sent[-1]["SentUs"]) / 1e6 <= sending <= lasted + 0.001)
        if "window" in name:
            self.assertGreaterEqual(lasted - sending, 2.499)  # twice the time-out and half a second; in whole ms
        self.assertAlmostEqual(report["achievedPacketsPerSecond"], len(run.sent) / sending, delta=0.001)
        self.assertEqual([span["start"] for span in spans], [*range(len(spans))])
        self.assertEqual({span["length"] for span in spans[:-1]}, {1} if spans[1:] else set())
        self.assertEqual(sum(span["lost"] for span in spans), report["packetsLost"])
        for span in spans:
            def within(moment, first=1e6 * span["start"]):
                return first <= moment < first + 1e6
            times = [float(row["RoundTripUs"]) for row in run.echoed
                     if within(float(row["SentUs"]) + float(row["RoundTripUs"]))]
            self.assertEqual(span["sent"], sum(within(float(row["SentUs"])) for row in run.sent))
            self.assertEqual((span["received"], span["maximumUs"] is None), (len(times), not times))
            # A tenth of a microsecond may be rounded up here and down there.
            self.assertAlmostEqual(span["maximumUs"] or 0, max(times, default=0), delta=0.11)
            self.near(span["p50Us"], times, 0.5)
        self.assertEqual(run.suite.get("timestamp"), datetime.datetime.fromtimestamp(start).isoformat()[:19])
        self.assertEqual(run.suite.get("time"), f"{sending:.3f}")

    @of_each_run
    def test_settings_and_traffic(self, name, run, report):
        usual = {row[0].split("`")[1].split()[0][2:]: row[2].strip("`") for row in rows_of("Option")}
        jsonschema.validate(report, SCHEMA, format_checker=jsonschema.FormatChecker())
        given = {key: run.options.get(key, int(usual[key])) for key in
                 ("baud", "rate", "min-size", "max-size", "timeout", "duration", "max-loss")}
        self.assertEqual([*report["configuration"].values()], [*dict(sorted({
            "port": run.options["port"], "baudRate": given["baud"], "packetsPerSecond": given["rate"],
            "minDataSizeBytes": given["min-size"], "maxDataSizeBytes": given["max-size"],
            "timeoutMs": given["timeout"], "durationSeconds": given["duration"],
            "moduleScreen": "no-screen" not in run.options, "maxLossPercent": given["max-loss"],
            "maxLatencyMs": run.options.get("max-latency"), "maxP99Ms": run.options.get("max-p99"),
            "maxLeftOutPercent": None if "window" in name else 100, "loopback": False, "payload": usual["payload"],
            "eventFile": run.options["events"], "pingFile": run.options["pings"]}.items())).values()])
        host = dict(zip(("name", "kernel", "machine"), (platform.node(), platform.release(), platform.machine())))
        version = subprocess.check_output([RUNNER, "--version"], text=True).split()
        self.assertEqual([report[key] for key in ("host", "adapter", "lineErrors", "tags", "timing", "format", "program",
                                                  "version", "requestedPacketsPerSecond")],
                         [host, None, None, {"cable": "a=\u00e4"} if "no echo" in name else {},
                          run.options.get("timing", usual["timing"]), 2, *version, given["rate"]])
        sizes = [max(8, size) + 4 for size in range(given["min-size"], given["max-size"] + 1)]
        texts = ["MM/dd/yy hh:mm:ss", f"Tx:{len(run.sent)} Rx:{len(run.echoed)}",
                 f"OK:{report['successRatePercent']:.0f}% {report['latencyMs']['average'] or 0}ms"]
        texts += [f"Lost:{report['packetsLost']}"] * (report["packetsLost"] > 0)
        texts = [] if "no-screen" in run.options else texts
        for way, packets, screen in (("To", run.sent, sum(6 + len(text) for text in texts)),
                                     ("From", run.echoed, 4 * len(texts) * bool(run.echoed))):
            traffic = report[f"estimatedTraffic{way}Module"]
            wanted = len(packets) / report["sendingSeconds"] * sum(sizes) / len(sizes) + screen
            self.assertAlmostEqual(traffic["bytesPerSecond"], wanted, delta=0.51)
            self.assertAlmostEqual(traffic["lineSharePercent"], wanted * 1100 / given["baud"], delta=0.02)

    @of_each_run
    def test_verdicts(self, name, run, report):
        options, status, us = run.options, CASES[name][2], report["latencyUs"]
        limits = [(title, what, options[key], figure) for key, title, what, figure in (
            ("max-latency", "longest round trip", "the longest round trip", us["maximum"]),
            ("max-p99", "99th percentile", "1 round trip in 100", us["p99"])) if key in options]
        loss = 100 * report["packetsLost"] / report["packetsSent"]
        reasons = ["the line was lost during the run"] * (status == 4)
        if not run.echoed:
            reasons.append(f"none of {len(run.sent)} packets came back")
        elif loss > (allowed := options.get("max-loss", 0)):
            reasons.append(f"{report['packetsLost']} of {len(run.sent)} packets were lost ({loss:.4g} %), "
                           f"allowed are {allowed:g} %")
        reasons += [f"{what} took # ms, allowed are {limit} ms" for _, what, limit, figure in limits
                    if run.echoed and figure > 1000 * limit]
        self.assertEqual([re.sub(r"took [\d.]+ ms", "took # ms", reason) for reason in report["reasons"]], reasons)
        self.assertEqual((run.status, report["exitStatus"]), (status, status))
        self.assertEqual(report["verdict"], {0: "passed", 1: "failed", 4: "lineLost"}[status])
        self.assertEqual([case.get("name") for case in run.suite.iter("testcase")],
                         ["files", "line", "traffic", "loss", *(title for title, *_ in limits),
                          *["schedule"] * ("window" not in name)])
        self.assertEqual([case.get("message") for case in run.suite.iter("failure")], report["reasons"])
        self.assertEqual(len([*run.suite.iter("skipped")]), 0 if run.echoed else 1 + len(limits))
        complaints = [line.removeprefix("packetbrask-run: ") for line in run.errors if line[0] == "p"]
        self.assertEqual(any("the line cannot carry this: 10 packets" in line for line in complaints), "baud" in options)
        self.assertEqual([line for line in complaints if "not passed: " in line],
                         ["not passed: " + reason for reason in report["reasons"]])
        self.assertEqual("the line takes no more packets, the run ends" in complaints, status == 4)
        self.assertEqual(run.errors[-1][15:] == "INFO: Disconnected from port", "quiet" not in options)
        self.assertEqual(any(line.endswith("] SUCCESS: The run passed") for line in run.errors), status == 0)

    @of_each_run
    def test_event_files(self, _, run, report):
        lines = [line for line in run.errors if line[0] == "["]
        first = next((index for index, line in enumerate(lines) if line.endswith("INFO: Test started")), 0)
        rows = [f"[{row['Timestamp'][11:]}] {row['Event']}: {row['Details']}" for row in run.events]
        if "quiet" not in run.options:
            self.assertEqual(lines[first:first + len(rows)], rows)
        self.assertEqual(lines == [], "quiet" in run.options)
        self.assertEqual((run.events[0]["Details"], run.events[-1]["Details"]), ("Test started", (
            f"Test stopped. Sent: {len(run.sent)}, Received: {len(run.echoed)}, Lost: {report['packetsLost']}, "
            f"Success: {report['successRatePercent'] + 1e-9:.1f}%")))
        self.assertEqual([(row["SequenceID"], row["DataSize"]) for row in run.events if row["Details"][:5] == "Sent "],
                         [(row["Number"], row["SizeBytes"]) for row in run.sent
                          if int(row["Number"]) < 10 or row["Number"].endswith("00")])

    def test_terminals(self):
        def told(width, *faults, duration=1, **variables):
            master, slave = pty.openpty()
            termios.tcsetwinsize(slave, (24, width))
            with subprocess.Popen([MODULE, *faults], stdout=subprocess.PIPE, text=True) as module:
                subprocess.run([RUNNER, "--port", module.stdout.readline().strip(), f"--duration={duration}"],
                               stderr=slave, check=False, timeout=60, env=os.environ | variables)
                module.terminate()
            os.close(slave)
            with open(master, "rb", buffering=0) as file:
                return file.read(8000).decode()  # which is more than the terminal holds
        wide = told(200, "--drop=.2", duration=2)
        for line in ("[INFO] Test started", "\033[32m[SUCCESS] Packet", "\033[33m[TIMEOUT] Packet"):
            colour, kind, text = re.fullmatch(r"(.*)\[(\w+)\](.*)", line).groups()
            end = re.escape("\033[0m" if colour else "") + "\r\n"
            self.assertRegex(wide, re.escape(colour) + rf"\[[\d:.]+\] {kind}:{text}[^\r\033]*{end}")
        self.assertRegex(wide, r"\r\033\[K2 s of 2 s \| sent \d+, received \d+, lost \d+ \| [\d.]+/s \| p50 [\d.]+ ms, "
                               r"p99 [\d.]+ ms\r")
        for width, shown in ((10, set()), (11, {"1 s of 1 s"}), (36, {"1 s of 1 s | sent n, received n"})):
            self.assertNotIn("\033[3", narrow := told(width, NO_COLOR="1"))
            lines = re.findall("\033\\[K(\\d s[^\r]*)\r", narrow)
            self.assertEqual({re.sub(r"(sent|received) \d+", r"\1 n", line) for line in lines}, shown)
        self.assertRegex(told(80, TERM="dumb"), r"\A[^\033]*Test stopped[^\033]*\Z")

    def test_documents(self):
        text = re.sub(r"\n {8,}", " ", subprocess.check_output([RUNNER, "--help"], text=True))
        allowed = dict(re.findall(r"^  (?:-\w, )?--([\w-]+)(.*)$", text, re.M))
        rows = {name: row for row in rows_of("Option") for name in re.findall(r"`--([\w-]+)", row[0])}
        self.assertEqual(set(rows), set(allowed))

        def told(*given, port="--port=/nowhere"):
            done = subprocess.run([RUNNER, "--check", port, *given], capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 2 if done.stderr else 1, given)
            return done.stderr.removeprefix("packetbrask-run: ").strip()
        refused = [(["--json=-", "--junit=-"], "another file than that of --json"),
                   (["--events=p", "--pings=q/../p"], "another file than that of --events"),
                   (["--max-size=8", "--min-size=9"], "at most the --max-size, which is 8"),
                   (["--tag==value"], "a key, = and a value"), (["--timing=best"], "exact or window"),
                   (["--tag=a=1", "--tag=b=1", "--tag=a=2"], "keys that differ"),
                   *(([f"--{name}="], "a path") for name in ("events", "pings", "json", "junit"))]
        for name, row in rows.items():
            if found := re.match(r"(\d+) to (\d+)", row[1]):
                low, high = map(int, found.groups())
                what = f"a {'number' if 'max-' in name and 'size' not in name else 'whole number'} from {low} to {high}"
                self.assertIn(f"Allowed: {what}.", allowed[name])
                refused += [([f"--{name}={value}"], what) for value in (low - 1, high + 1, "x")]
                refused += [([f"--{name}=2.5"], what)] if "whole" in what else []
                for value in (low, high):
                    self.assertEqual(told("--min-size=0", f"--{name}={value}"), "")
            elif name == "baud":
                refused += [([f"--baud={rate}"], row[1]) for rate in (57600, "x")]
                self.assertEqual({told(f"--baud={rate}") for rate in row[1].split(", ")}, {""})
        for given, what in refused:
            named, _, value = given[-1].partition("=")
            self.assertEqual(told(*given, port="--port=x"), f'{named}: "{value}" is not allowed, only {what}')
        for given, complaint in (
                ("--port=", '--port: "" is not allowed, only a path'),
                ("y", '"y" is not allowed, only options; --help lists them'),
                ("--rat=1", "Unknown option 'rat'. --help tells what is allowed.")):
            self.assertEqual(told(given), complaint)
        self.assertEqual(told("--timeout=5001", "--rate=0"), told("--rate=0"))  # one line, of the first
        self.assertRegex(told(port="--quiet"), "^--port: missing, the path of a device has to be given")
        seen = {run.status: run.report["verdict"] for run in self.runs.values()} | {
            2: "", 3: "", 5: "outputFailed", 6: "disturbed"}
        self.assertEqual({int(row[0]): row[1].strip("`") for row in rows_of("Exit status")}, seen)
        self.assertEqual(set(SCHEMA["properties"]["verdict"]["enum"]), set(seen.values()) - {""})

        fields, names = {"adapter", "lineErrors"}, set()
        for cell, *_ in rows_of("Field"):
            listed = re.findall("`(.*?)`", cell)
            names |= {listed[0].rpartition(".")[0] + each if each[0] == "." else each for each in listed}

        def walk(prefix, schema):
            schema = SCHEMA["$defs"].get(schema.get("$ref", "").rpartition("/")[2], schema)
            for key, inner in schema.get("properties", {}).items():
                walk(f"{prefix}.{key}".lstrip("."), inner)
            if "properties" not in schema:
                fields.add(prefix)
        walk("", SCHEMA)
        names |= {name.replace("ToModule", "FromModule") for name in names}
        self.assertEqual(fields, names - {"estimatedTrafficFromModule"})


if __name__ == "__main__":
    unittest.main()
