"""What the built program says of made-up reports, in text and on pages: report_figures_test.py PROGRAM PROJECT."""

import decimal
import html
import json
import math
import os
import pathlib
import re
import subprocess
import sys
import unicodedata
import unittest

import helpers
from sample_reports import HOSTILE, changed, report

PROGRAM, PROJECT = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))
DOCUMENT = (PROJECT / "docs/report.md").read_text(encoding="utf-8")
TESTED = {
    "Port": "/dev/ttyUSB0 at 115200 bits/s",
    "Adapter": "USB-Serial, 0403:6001, serial number A50285BI, driver ftdi_sio, latency timer 1 ms",
    "Tag a": "x", "Tag b": "y", "Computer": "bench-3, Linux 6.1.0, x86_64",
    "Settings": "50 pings a second of 1 to 124 bytes, for 2 s; time-out 500 ms; module's screen written",
    "Limits": "loss at most 0.1 %; longest at most 200 ms", "Pings a second, truly": "49.12",
    "Start": "2026-11-22 10:01:00", "End": "2026-11-22 11:01:00", "Timing": "at the line",
    "Report": "one.json, by packetbrask-run 1.0"}
# The differences, milliseconds without their unit: value, its range, what is said of it.
COMPARED = {("first", "burst", "lossy", "slow"): """
Pings lost | 0 % 0 % to 0.100 % | 0 % 0 % to 0.100 % ~ | 0.867 % 0.559 % to 1.17 % worse | 0 % 0 % to 0.100 % ~
p50, half took longer | 5.87 5.84 to 5.89 | 5.87 5.84 to 5.89 ~ | 5.88 5.85 to 5.91 ~ | 7.01 6.98 to 7.05 worse
p90, 1 in 10 took longer | 7.00 6.83 to 7.20 | 7.00 6.88 to 7.36 ~ | 6.99 6.82 to 7.16 ~ | 8.39 8.21 to 8.61 worse
p99, 1 in 100 took longer | 8.51 8.25 to 9.22 | 400 7.85 to 400 ~ | 8.51 8.21 to 9.20 ~ | 10.2 9.78 to 11.7 worse
p99.9, 1 in 1000 took longer | 47.8 14.9 to 87.3 | 400 8.19 to 400 ~ | 60.4 18.1 to 90.1 ~ | 43.8 22.0 to 70.6 ~
Slowest ping of a second, mean | 12.1 8.85 to 15.4 | 18.6 5.54 to 31.7 ~ | 13.7 9.25 to 18.2 ~ | 13.9 11.0 to 16.8 ~
Longest round trip | 87.3 | 400 | 90.1 | 70.6
Pings sent late, p99 | 180 µs | 180 µs | 180 µs | 180 µs
""", ("eight", "stretched", "silent", "short"): """
Pings lost | 12.3 % 9.48 % to 15.0 % | 4.70 % 3.17 % to 6.22 % better | 100 % 100 % to 100 % worse | 0 %
p50, half took longer | 10.1 9.97 to 10.2 | 5.99 5.94 to 6.05 better | – | 10.2
p90, 1 in 10 took longer | 11.9 11.4 to 13.6 | 7.24 7.00 to 7.53 better | – | 12.2
p99, 1 in 100 took longer | 14.0 12.9 to 16.1 | 9.91 8.46 to 101 ~ | – | 13.8
p99.9, 1 in 1000 took longer | 16.1 14.3 to 16.1 | 101 27.8 to 101 worse | – | 16.1
Slowest ping of a second, mean | 13.5 12.7 to 14.4 | 12.6 6.86 to 18.4 ~ | – | 13.9
Longest round trip | 16.1 | 101 | – | 16.1
Pings sent late, p99 | 180 µs | 180 µs | 180 µs | 180 µs
"""}
# What is complained of, and the changes that lead to it.
UNREADABLE = {
    "a number of 0 or more": "latencyUs.p99=[] latencyUs.p99=-0.1", "an object": "configuration=1 adapter=[]",
    "an array": "reasons=1", "a text": "timing=1 host.name=1",
    "true or false": "configuration.moduleScreen=0",
    "a date and time": 'start="today"', "a known word": 'verdict="good"',
    "in its range": "configuration.baudRate=0 configuration.packetsPerSecond=0 "
                    "configuration.timeoutMs=2147483648 unexpected.errorReplies.0.code=256",
    "a count": "configuration.minDataSizeBytes=-1 packetsSent=1.5 packetsSent=1000000000001 packetsLost=null "
               "seconds.1.lost=-1 unexpected.errorReplies.0.code=-1",
    "a row of [lower, upper, count], shortest first":
        "latencyHistogramUs=[[4,4,1]] latencyHistogramUs=[[1,2,0]] latencyHistogramUs=[[1,2,1],[1.9,3,1]] "
        "latencyHistogramUs=[[-1,2,1]] latencyHistogramUs=[[1,2,1000000000001]]"}


def rows_of(title):
    return helpers.rows_of(DOCUMENT, title)


LATENCIES, COUNTS = ({name: path.strip("`") for name, path in rows_of("On the page")
                      if ("latencyUs" in path) == timed} for timed in (True, False))


def digits(value):
    """Three digits, halves rounded up as the program does."""
    places = min(6, max(0, 2 - math.floor(math.log10(value)))) if value else 0
    return str(decimal.Decimal(value).quantize(decimal.Decimal(1).scaleb(-places), decimal.ROUND_HALF_UP))


def time(us):
    return "–" if us is None else next(f"{digits(us / scale)} {unit}" for unit, scale, below in
                                       (("µs", 1, 999.5), ("ms", 1e3, 999.5e3), ("s", 1e6, math.inf)) if us < below)


def percent(value):
    return "–" if value is None else digits(value) + " %"


def number(count):
    return f"{count:,}".replace(",", "\u202f")


def words(markup):
    return html.unescape(re.sub("<[^>]*>", "", markup))


class Page:
    """The tables of a page by their captions, the data for its charts, and what is to be read on it."""

    def __init__(self, text):
        body = text[text.index("<body>"):text.index("<script")]
        self.raw, self.words = re.search('id="data">(.*?)</script>', text)[1], words(body)
        self.data, self.pictures = json.loads(self.raw), re.findall('<path d="(M[^H]*?)"', body)
        self.tables = {words(caption): [[words(cell) for cell in re.findall(r"<t[hd]\b[^>]*>(.*?)</t[hd]>", row)]
                                        for row in rows.split("</tr>")[:-1]]
                       for caption, rows in re.findall("<caption>(.*?)</caption>(.*?)</table>", body, re.S)}


class FiguresTest(helpers.FolderTest):
    def run_program(self, *arguments, status=0, **more):
        done = subprocess.run([PROGRAM, *arguments], capture_output="stdout" not in more, text=True, timeout=60,
                              env=os.environ | {"LC_ALL": "C.UTF-8"}, **more)
        self.assertEqual(done.returncode, status, (arguments, done.stderr))
        return done

    def write(self, **reports):
        for name, made in reports.items():
            pathlib.Path(name + ".json").write_text(made if isinstance(made, str) else json.dumps(made), encoding="utf-8")
        return [name + ".json" for name in reports]

    def page(self, *arguments):
        return Page(self.run_program(*arguments, "--html=-").stdout)

    def test_draws_charts(self):
        made = report(1, seconds=1, packetsReceived=20000) | {"latencyHistogramUs": [
            [0, 0.5, 200], [100, 110, 8000], [110, 115, 2000], [115, 120, 199], [120, 160, 5801], [1000, 1100, 1800],
            [1100, 1200, 1800], [90000, 99000, 200]]}
        made["latencyUs"] |= {"p50": 111, "p90": 1050, "p99": 1190, "p999": 91000, "maximum": 98000}
        page, other = self.page(*self.write(made=made)), report(2, seconds=1)
        tables, data = page.tables, page.data["runs"][0]
        self.assertEqual(tables["How long round trips took"][5], ["1.00 ms", "1.15 ms", "3\u202f600"])
        self.assertEqual(tables["How rare the slow ones are"][1:], [
            ["2", "111 µs"], ["10", "1.05 ms"], ["100", "1.19 ms"], ["1\u202f000", "91.0 ms"], ["10\u202f000", "98.9 ms"]])
        self.assertEqual(data["timed"], 20000)
        self.assertEqual(data["bins"], [[1, 1.155, 200], [100, 115.478, 10000], [115.478, 133.352, 199],
                                        [133.352, 153.993, 5801], [1000, 1154.782, 3600], [86596.432, 100000, 200]])
        self.assertEqual(data["tail"], [[1.01, 0.5], [1.695, 110], [2.041, 115], [2.083, 120], [5.263, 160], [10, 1100],
                                        [100, 1200], [20000, 98000]])
        self.assertLess({"other: Pings a second", "made: How rare the slow ones are"},
                        {*self.page("made.json", *self.write(other=other)).tables})

    def test_shows_every_figure_of_a_run(self):
        made = report(1, seconds=2, tags={"b": "y", "a": "x"}, achievedPacketsPerSecond=49.123)
        made = changed(made, {path: 1001 + index for index, path in enumerate(COUNTS.values())}
                       | {path: 11 ** (index + 1) / 10 for index, path in enumerate(LATENCIES.values())}
                       | {"unexpected.errorReplies": [{"code": 3, "text": "<busy>", "count": 2000}]})
        page, text = self.page(*self.write(one=made)), self.run_program("one.json").stdout
        times = [time(11 ** (index + 1) / 10) for index in range(8)]
        self.assertEqual(page.tables["Round trips"], [["Figure", "Value"]] + [[*row] for row in zip(LATENCIES, times)]
                         + [["Round trips timed", "100"], ["Pings sent late, p99", "180 µs"],
                            ["Pings sent late, most", "900 µs"]])
        counts = [[name, number(1001 + index)] for index, name in enumerate(COUNTS)]
        self.assertEqual(page.tables["Counts"], [["Figure", "Value"], *counts[:3], ["Lost of 100", "100 %"], *counts[3:]])
        self.assertEqual(page.tables["What was tested"], [["Figure", "Value"]] + [[*row] for row in TESTED.items()])
        head = "PacketBraskTest run one/dev/ttyUSB0 at 115200 bits/s, 2026-11-22 10:01:00\n"
        tiles = (f"Pings sent{number(1001)}Lost{number(1003)} 100 %Half within (p50){times[1]}99 of 100 within{times[3]}"
                 f"Longest{times[5]}\n")
        for told in (head, f"✓PassedThe run kept every limit: {TESTED['Limits']}.\n" + tiles,
                     "What this means", "Error reply 3, <busy>: 2\u202f000 times"):
            self.assertIn(told, page.words)
        self.assertEqual(text.split("\nFraming")[0], "\n".join((
            "one: Passed", "/dev/ttyUSB0 at 115200 bits/s, 2026-11-22 10:01:00", "  a: x", "  b: y",
            "Sent        1\u202f001", "Received    1\u202f002", "Lost        1\u202f003  100 %",
            *(f"{name:8}  {value:>7}" for name, value in zip(("Shortest", "p50", "p90", "p99", "p99.9", "Longest"),
                                                          times)))))
        self.assertNotIn("What this means", self.page(*self.write(fine=report(1, seconds=2))).words)

    def test_shows_three_digits(self):
        for us, told in ((0, "0 µs"), (0.0123, "0.0123 µs"), (999.4, "999 µs"), (12.25, "12.3 µs"),
                         (9995, "9.99 ms"), (999.4e3, "999 ms"), (1e6, "1.00 s"), (12345678, "12.3 s")):
            made = changed(report(1, seconds=1), {"latencyUs.maximum": us})
            self.assertIn(f"\nLongest {told}\n", re.sub(" +", " ", self.run_program(*self.write(x=made)).stdout))

    def test_shows_what_is_not_known(self):
        bare = changed(report(3, seconds=2, loss=1), {
            "adapter": None, "lineErrors": None, "timing": "window", "verdict": "outputFailed",
            "reasons": ["full", "worse"], "sendLagUs": {"p99": None, "maximum": None},
            "achievedPacketsPerSecond": None, "configuration.durationSeconds": 0, "configuration.moduleScreen": False,
            "configuration.maxP99Ms": 2.5, "configuration.maxLatencyMs": None})
        page, text = self.page(*self.write(bare=bare)), self.run_program("bare.json").stdout
        self.assertIn("✗Output failedfullworse\n", page.words)
        self.assertIn("bare: Output failed\n  full\n  worse\n", text)
        tested = dict(page.tables["What was tested"])
        self.assertEqual([tested[name] for name in ("Adapter", "Limits", "Timing", "Pings a second, truly")],
                         ["–", "loss at most 0.1 %; p99 at most 2.5 ms", "as the window's", "–"])
        self.assertRegex(tested["Settings"], ", until stopped; .* screen left alone$")
        self.assertEqual([row[1] for row in page.tables["Round trips"]], ["Value"] + 8 * ["–"] + ["0", "–", "–"])
        self.assertEqual([row[1] for row in page.tables["Counts"][-5:]], 5 * ["–"])

    def test_joins_the_seconds_of_long_runs(self):
        made = report(1, seconds=1, rate=2)
        for seconds, step in ((3, 1), (400, 1), (401, 2), (801, 5), (2001, 10), (4001, 20), (8001, 30), (12001, 60),
                              (24001, 61)):
            rows = [made["seconds"][0] | {
                "start": start, "p50Us": start * 7919 % 997 if start % 3 else None, "lost": start % 2,
                "maximumUs": start * 31 % 101 if start % 7 else None} for start in range(seconds)]
            page, spans = self.page(*self.write(long=made | {"seconds": rows})), []
            for part in (rows[start:start + step] for start in range(0, seconds, step)):
                p50s, most = ([row[key] for row in part if row[key] is not None] for key in ("p50Us", "maximumUs"))
                spans.append((part[0]["start"], 2 * len(part), 2 * len(part), sum(r["lost"] for r in part),
                              sorted(p50s)[len(p50s) // 2] if p50s else None, max(most, default=None)))
            self.assertEqual(page.tables["Pings a second"][1:],
                             [[str(start), *map(number, counts)] for start, *counts, _, _ in spans])
            self.assertEqual(page.tables["Round trips over time"][1:],
                             [[str(start), time(p50), time(most)] for start, *_, p50, most in spans])
            self.assertEqual(page.data["runs"][0]["time"], [[start, 2, 2, *rest] for start, _, _, *rest in spans])

    def test_compares(self):
        burst = report(1)
        burst["seconds"][30]["maximumUs"] = 400000
        burst["latencyHistogramUs"].append([399000, 401000, 45])
        burst["latencyUs"] |= {"p99": 400000, "p999": 400000, "maximum": 400000}
        burst["packetsReceived"] += 45
        self.write(first=report(1), burst=burst, lossy=report(1, loss=0.01), slow=report(9, middle_us=6200),
                   eight=report(9, 8, 50, 9000, 0.1), stretched=report(4, 33, 20, 5300, 0.05),
                   silent=report(3, loss=1), short=report(9, 7, 50, 9000))
        for names, expected in COMPARED.items():
            files = [name + ".json" for name in names]
            head, _, *rows = self.page(*files).tables["Differences"]
            self.assertEqual(head, ["Less is better", names[0] + " held against", *names[1:]])
            lines = [re.sub("[▲▼]", "", " | ".join(row).replace("no clear difference", " ~")) for row in rows]
            self.assertEqual([line.replace(" ms", "") for line in lines], expected.strip().splitlines())
            plain = [re.sub(r" \S+ (%|ms) to \S+ \1", "", line) for line in lines]
            text = self.run_program(*files).stdout.splitlines()
            self.assertEqual([" | ".join(re.split(r"\s{2,}", line)) for line in text[2:10]], plain)
        self.assertIn("Held against first", self.page("first.json", "burst.json").words)

    def test_warns_of_different_tests(self):
        first = report(1, seconds=1)
        runs = {name: changed(first, {path: value}) for name, path, value in (
            ("baud rate", "configuration.baudRate", 9600), ("ping rate", "configuration.packetsPerSecond", 49),
            ("time-out", "configuration.timeoutMs", 501), ("way of timing", "timing", "window"),
            ("smallest payload", "configuration.minDataSizeBytes", 2),
            ("largest payload", "configuration.maxDataSizeBytes", 123),
            ("writing on the module's screen", "configuration.moduleScreen", False),
            ("adapter's latency timer", "adapter.latencyTimerMs", 2))}
        self.write(first=first, none=first | {"adapter": None}, **runs)
        for name in runs:
            self.assertIn(f"Not the same test; the runs differ in {name}.\n",
                          self.run_program("first.json", name + ".json").stdout)
        self.assertIn("Not the same test. The runs differ in baud rate, ping rate; ",
                      self.page("first.json", "baud rate.json", "ping rate.json").words)
        self.assertNotIn("Not the same", self.run_program("none.json", "none.json").stdout)

    def test_lists_a_batch(self):
        def made(p99, verdict="passed", lost=0, tag=None, start=0, **changes):
            run = report(1, 1, 10, tags={"station": tag} if tag else {}, packetsLost=lost, verdict=verdict,
                         start=f"2026-11-22T10:00:{start:02}.000+01:00", reasons=["r" * 121] * (verdict != "passed"))
            run["latencyUs"] = run["latencyUs"] | {"p50": p99 and p99 / 2, "p99": p99, "maximum": p99 and 2 * p99}
            run["latencyHistogramUs"] = [[p99 / 4, p99 / 2, 5], [p99, 2 * p99, 2]] if p99 else []
            return run | changes
        runs = {"a": made(5000, tag="S2", start=9), "b": made(9000, tag="S2", start=3), "c": made(7000, "failed", 1, "S1"),
                "d": made(1000, "lineLost"), "e": made(8000, "outputFailed", 2, "S3"), "f": made(2000, "failed", 2, "S1"),
                "g": made(5000, tag="S2", lost=3, start=1), "h": made(None, "failed", 2, packetsSent=0, start=9),
                "i": made(None, "failed", 2, "S1"), "k": made(1500, tag="S3")}
        order = "dhifceg" + "bak"
        files = self.write(**runs)
        loss = {name: 100 * run["packetsLost"] / run["packetsSent"] if run["packetsSent"] else None
                for name, run in runs.items()}
        words = {"passed": "Passed", "failed": "Failed", "lineLost": "Line lost", "outputFailed": "Output failed"}
        expected = [[name, words[runs[name]["verdict"]], str(runs[name]["packetsSent"]), percent(loss[name]),
                     *(time(runs[name]["latencyUs"][key]) for key in ("p50", "p99", "maximum"))] for name in order]
        lines = self.run_program(*files).stdout.splitlines()
        self.assertEqual(lines[0], "4 of 10 runs passed")
        self.assertEqual([re.split(r"\s{2,}", row) for row in lines[2:]], expected)
        groups = [("", 2, 0, 0, 1000, 1000), ("S1", 3, 0, 20, 7000, 7000), ("S3", 2, 1, 20, 8000, 8000),
                  ("S2", 3, 3, 30, 9000, 5000)]
        grouped = self.run_program(*files, "--by=station").stdout.split("\n\n")[0].splitlines()
        page = self.page(*files, "--by=station")
        self.assertEqual([re.split(r"\s{2,}", row) for row in grouped[1:]], [
            [name or "(without it)", str(all_), str(passed), percent(worst), time(p99)]
            for name, all_, passed, worst, p99, _ in groups])
        self.assertEqual(page.tables["Groups by station"][1:], [
            [name or "without it", str(all_), str(passed), str(all_ - passed), percent(worst), time(middle), time(p99)]
            for name, all_, passed, worst, p99, middle in groups])
        page = self.page(*files)
        self.assertIn("Passed4Not passed6Runs10\n", page.words)
        self.assertIn("axis, 250 µs on the left and 18.0 ms on the right", page.words)
        self.assertEqual([[row[0], row[1][2:], *row[2:7]] for row in page.tables["All runs"][1:]], expected)
        self.assertEqual([row[8:] for row in page.tables["All runs"][1:]],
                         [[runs[name]["start"][:19].replace("T", " "), "".join(runs[name]["reasons"])[:120]] for name in order])
        self.assertEqual(page.data["batch"], [
            [name, runs[name]["verdict"] == "passed", loss[name] and round(loss[name], 3), runs[name]["latencyUs"]["p99"]]
            for name in "dif" + "cek" + "gb" + "ha"])
        places = [[int(32 * math.log(middle / 250) / math.log(72)) for middle in (p99 / math.sqrt(8), p99 * math.sqrt(2))]
                  for p99 in (runs[name]["latencyUs"]["p99"] for name in order) if p99]
        short = round(22 * math.log(3) / math.log(6))
        self.assertEqual(page.pictures,
                         [f"M{3 * low} 22v-22h2v22zM{3 * high} 22v-{short}h2v{short}z" for low, high in places])

    def test_names_runs(self):
        for names, by, tags in (
                (["cable A, site X", "cable B, site Y"], [], "AX BY"), (["cable A", "cable B"], [], "AX BX"),
                (["site X", "site Y"], ["--by=site"], "AX BY"), (["r0", "r1"], ["--by=site"], "AX BX")):
            files = self.write(**{f"r{i}": report(1, 1, 2, tags=dict(zip(("cable", "site"), pair)))
                                  for i, pair in enumerate(tags.split())})
            told = self.run_program(*files, *by).stdout.splitlines()[0]
            self.assertEqual(re.split(r"\s{2,}", told)[1:], names)
        self.assertIn(" r0.json  ./r0.json\n", self.run_program("r0.json", "./r0.json").stdout)

    def test_keeps_hostile_texts_harmless(self):
        made = report(1, seconds=2, tags={"cable": HOSTILE, "x": HOSTILE}, reasons=[HOSTILE])
        text = self.run_program(*self.write(hostile=made)).stdout
        safe = "".join("?" if unicodedata.category(c)[0] == "C" else c for c in HOSTILE)
        self.assertIn(f"  cable: {safe}\n", text)
        page = self.page("hostile.json", *self.write(other=report(1, seconds=2, tags={"cable": "B"})), "--by=cable")
        self.assertEqual(page.data["runs"][0]["label"], ("cable " + HOSTILE)[:60])
        self.assertLessEqual({character for character in page.raw} & set("<>&\u2028\u2029"), set())
        shown = dict(row[:2] for row in page.tables["What was tested"])["Tag x"]
        self.assertEqual(shown, HOSTILE.replace("\x1b", "\ufffd").replace("\u202e", "\ufffd"))

    def test_explains_and_documents_every_cause(self):
        documented = {title: (where, source.strip("`")) for title, where, source, _ in rows_of("Sentence")}
        fine = {"packetsLost": 0, "achievedPacketsPerSecond": 50, "lossBursts.longest": 4}

        def found(changes):
            made = changed(report(2, loss=0.1, seconds=2), fine | changes)
            told = re.findall(r"^(.*) \[(.*)\]: (.*)$", self.run_program(*self.write(x=made)).stdout, re.M)
            self.assertEqual([where for _, where, _ in told], [documented[title][0] for title, *_ in told])
            return {title: sentence for title, _, sentence in told}

        for changes in (
                {"sendLagUs.p99": 20000, "estimatedTrafficToModule.lineSharePercent": 89.9,
                 "adapter.latencyTimerMs": 1, "achievedPacketsPerSecond": 45},
                {"achievedPacketsPerSecond": 1, "sendingSeconds": 0.9, "sendLagUs.p99": None},
                {"packetsSent": 0, "packetsReceived": 0, "achievedPacketsPerSecond": None}):
            self.assertEqual(found(changes), {})
        silent = {"packetsReceived": 0, "packetsSent": 7, "packetsLost": 7, "lossBursts.longest": 99}
        self.assertEqual([*found(silent | {"lineErrors": None})], ["No echo at all"])
        slow = {"sendLagUs.p99": 5100, "configuration.packetsPerSecond": 200, "achievedPacketsPerSecond": 0}
        cases = (
            ("The line was lost", {"verdict": "lineLost"}, "No ping"), ("No echo at all", silent, "None of 7 "),
            ("Losses without line errors", {"packetsLost": 7}, "7 pings"), ("Coarse timing", {"timing": "window"}, ""),
            ("Losses, line errors unknown", {"packetsLost": 7, "lineErrors": None}, "7 pings"),
            ("Losses in a row", {"lossBursts.longest": 5}, "Up to 5 "),
            ("Pings sent late", {"sendLagUs.p99": 20100}, "1 ping in 100 left more than 20.1 ms"),
            ("Fewer pings than asked for", {"achievedPacketsPerSecond": 44.9, "sendingSeconds": 1}, "Only 89.8 %"),
            ("The line was full", {"estimatedTrafficToModule.lineSharePercent": 90}, "The pings took 90 %"),
            ("Latency timer", {"adapter.latencyTimerMs": 1.5},
             "The adapter may hold received bytes back for up to 1.5"),
            ("Error replies", {"unexpected.errorReplies": 2 * [{"code": 255, "text": "", "count": 3}]},
             "The module answered with an error instead of an echo (counted: 6)"))
        cases += tuple((title, {source: 7}, "7") for title, (_, source) in documented.items()
                       if title not in [case[0] for case in cases])
        for title, changes, told in cases:
            sentences = found(changes)
            self.assertIn(told, sentences.pop(title))
            self.assertEqual(sentences, {})
        sentences = found(slow)
        self.assertIn("5.1 ms", sentences["Pings sent late"])
        self.assertIn("0.1 %", sentences["Fewer pings than asked for"])

    def test_tells_what_it_cannot_read(self):
        whole, bad = report(seconds=2, version="1.1"), {}
        whole["unexpected"]["errorReplies"] = [{"code": code, "text": "", "count": 0} for code in (0, 255)]
        for wanted, changes in UNREADABLE.items():
            for path, value in (change.split("=") for change in changes.split()):
                told = re.sub(r"(unexpected\.)?(\w+)\.\d\.", r"\2: ", path)
                bad[f"b{len(bad)}"] = (changed(whole, {path: json.loads(value)}), f"its {told} is not {wanted}")
        large, no_json = "x" * (64 * 1024 * 1024 + 1), "it is no JSON, or only a part of it: "
        bad |= {"other": ("{}", "it is no report of packetbrask-run or packetbrask-survey"),
                "large": (large, "it is too large for a report"),
                "limit": (large[:-1], no_json + "illegal value at byte 1"),
                "half": (json.dumps(whole)[:900], no_json + "unterminated string at byte 901"),
                "older": ({key: value for key, value in whole.items() if key != "format"},
                          "it is a report of format 1, made by an older packetbrask-run; only format 2 can be read"),
                "newer": (whole | {"format": 3}, "its format 3 is not known, only format 2 can be read")}
        files = self.write(**{name: made for name, (made, _) in bad.items()})
        told = self.run_program(*files, "absent", status=2).stderr.splitlines()
        self.assertEqual(told, [f"packetbrask-report: {file}: {complaint}" for file, (_, complaint) in
                                zip(files, bad.values())] + ["packetbrask-report: absent: No such file or directory"])
        edges = {"packetsSent": 10 ** 12, "latencyHistogramUs": [[0, 1, 10 ** 12], [1, 2, 1]]} | {
            "configuration." + name: value for name, value in (
                ("baudRate", 1), ("packetsPerSecond", 1), ("minDataSizeBytes", 0), ("timeoutMs", 2147483647))}
        self.write(good=changed(whole, edges))
        self.assertIn("good: Passed", self.run_program("other.json", "good.json", status=1).stdout)

    def test_options_and_statuses(self):
        self.write(good=report(seconds=2))
        named = {name for row in rows_of("Option") for name in re.findall(r"--\w+", row[0])}
        told = self.run_program("--help").stdout
        self.assertEqual(set(re.findall(r"^  (?:-\w, )?(--\w+)", told, re.M)), named)
        os.mkfifo("pipe")
        for arguments, status, complaint in (
                ("", 2, "no report is given; --help tells how"), ("good.json --by=", 2, '--by: "" is not allowed'),
                ("good.json --html=", 2, '--html: "" is not allowed'), ("good.json --x", 2, "Unknown option 'x'."),
                ("good.json --html=./good.json", 2, '--html: "./good.json" is one of the reports'),
                ("good.json --text --html=-", 2,
                 '--html: "-" is not allowed with --text, which needs standard output'),
                ("good.json --html=/nowhere/x", 3, "cannot write /nowhere/x: No such file or directory"),
                ("good.json --html=pipe", 3, "cannot write pipe: it is there and no regular file")):
            told = self.run_program(*arguments.split(), status=status).stderr
            self.assertEqual(told, f"packetbrask-report: {complaint}\n")
        with open("/dev/full", "w", encoding="ascii") as full:
            for arguments in (("good.json",), ("good.json", "--html=-"), ("--help",)):
                done = self.run_program(*arguments, status=3, stdout=full, stderr=subprocess.PIPE)
                self.assertIn("cannot write to standard output: No space left on device\n", done.stderr)
        self.assertEqual(self.run_program("good.json", "--html=page").stdout, "")
        self.assertIn("Passed", self.run_program("good.json", "--html=page", "--text").stdout)
        self.assertIn("good – PacketBrask", pathlib.Path("page").read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
