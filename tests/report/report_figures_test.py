"""What the built program says of made-up reports, in text and on pages: report_figures_test.py PROGRAM PROJECT."""

import copy
import decimal
import html
import json
import math
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unicodedata
import unittest

from sample_reports import HOSTILE, report, samples

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
LOST, FIGURES = "Pings lost", {"p90, 1 in 10 took longer": ("p90", 0.9), "p99, 1 in 100 took longer": ("p99", 0.99),
                               "p99.9, 1 in 1000 took longer": ("p999", 0.999)}


def rows_of(title):
    """The rows of the table in the document whose first column has this title."""
    table = DOCUMENT.split(f"\n| {title} |", 1)[1].split("\n\n", 1)[0]
    return [[cell.strip() for cell in row.strip("|").split("|")] for row in table.splitlines()[2:]]


LATENCIES, COUNTS = ({name: path.strip("`").split(".") for name, path in rows_of("On the page")
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


def coarse(run):
    bins = {}
    for low, high, count in run["latencyHistogramUs"]:
        index = math.floor(8 * math.log10(max(low, 1) * max(high, 1)))
        bins[index] = bins.get(index, 0) + count
    return [(10 ** (index / 16), 10 ** ((index + 1) / 16), count) for index, count in bins.items()]


def tail(run):
    """Points that are 2 % apart, with the last one at the longest round trip."""
    points, above = [], (timed := run["packetsReceived"])
    for _, high, count in run["latencyHistogramUs"]:
        above -= count
        if above and (not points or timed / above >= points[-1][0] * 1.02):
            points.append((timed / above, high))
    if points and points[-1][0] >= timed:
        points.pop()
    return points + [(timed, run["latencyUs"]["maximum"])] * (timed > 0)


def at_share(run, share):
    wanted, below = max(0, min(1, share)) * run["packetsReceived"], 0
    for low, high, count in run["latencyHistogramUs"]:
        if below + count >= wanted:
            return low + (high - low) * (wanted - below) / count
        below += count
    return None


def intervals(run, step):
    for start in range(0, len(run["seconds"]), step):
        part = run["seconds"][start:start + step]
        middles = sorted(row["p50Us"] for row in part if row["p50Us"] is not None)
        yield [part[0]["start"], *(sum(row[key] for row in part) for key in ("length", "sent", "received", "lost")),
               middles[len(middles) // 2] if middles else None,
               max((row["maximumUs"] for row in part if row["maximumUs"] is not None), default=None)]


def spread(run, part, whole):
    """The quotient of sums over the seconds, and how far two standard errors reach."""
    seconds, parts = run["seconds"], min(20, len(run["seconds"]))
    sums = [[0, 0] for _ in range(parts)]
    for index, second in enumerate(seconds):
        sums[index * parts // len(seconds)][0] += part(second)
        sums[index * parts // len(seconds)][1] += whole(second)
    total = sum(whole(second) for second in seconds)
    if not total:
        return None, None
    value = sum(part(second) for second in seconds) / total
    squares = sum((some - value * all_) ** 2 for some, all_ in sums)
    return value, 2 * math.sqrt(squares * parts / (parts - 1)) / total if len(seconds) >= 8 else None


def ranges(run):
    """Of each figure that is compared: its value and what chance may make of it, or nothing."""
    us, counts, found = run["latencyUs"], (run["packetsSent"], run["packetsLost"], run["packetsReceived"]), {}

    def around(value, middle, error, low=0):
        return (value, None, None) if error is None else (value, max(low, middle - error), middle + error)
    lost = 100 * counts[1] / counts[0] if counts[0] else None
    value, error = spread(run, lambda row: 100 * row["lost"], lambda row: row["sent"])
    found[LOST] = around(lost, value, error)
    if error is not None and not counts[1]:
        found[LOST] = (lost, 0, 300 / counts[0])
    mean = {key: spread(run, lambda row, k=key: row[k] or 0, lambda row, k=key: row[k] is not None)
            for key in ("p50Us", "maximumUs")}
    found["p50, half took longer"] = around(us["p50"], us["p50"], mean["p50Us"][1])
    for name, (key, share) in FIGURES.items():
        found[name] = (us[key], None, None)
        if us[key] is not None and len(run["seconds"]) >= 8:
            rare = max(1 - share, sum(bin[2] for bin in run["latencyHistogramUs"] if bin[1] > us[key]) / counts[2])
            hit = sum((row["maximumUs"] or 0) >= us[key] for row in run["seconds"])
            error = 2 * rare / math.sqrt(max(1, min(rare * counts[2], hit)))
            found[name] = (us[key], min(us[key], at_share(run, share - error)),
                           max(us[key], at_share(run, share + error) if share + error < 1 else us["maximum"]))
    value, error = mean["maximumUs"]
    return found | {"Slowest ping of a second, mean": around(value, value, error),
                    "Longest round trip": (us["maximum"], None, None),
                    "Pings sent late, p99": (run["sendLagUs"]["p99"], None, None)}


def difference(first, other):
    if None in (*first, *other):
        return ""
    return "better" if other[2] < first[1] else "worse" if other[1] > first[2] else "~"


class FiguresTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

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

    def check_charts(self, page, run, index, step=1, prefix=""):
        """The tables of one run below its charts, and what the charts are drawn of."""
        data, spans = page.data["runs"][index], list(intervals(run, step))
        tables = {name: [row for row in page.tables[prefix + name]][1:] for name in
                  ("How long round trips took", "How rare the slow ones are", "Pings a second", "Round trips over time")}
        bins, us = coarse(run), run["latencyUs"]
        self.assertEqual(tables["How long round trips took"],
                         [[time(low), time(high), number(count)] for low, high, count in bins])
        known = {2: us["p50"], 10: us["p90"], 100: us["p99"], 1000: us["p999"]}
        self.assertEqual(tables["How rare the slow ones are"],
                         [[number(one), time(known.get(one, at_share(run, 1 - 1 / one)))]
                          for one in (2, *(10 ** power for power in range(1, 9))) if one <= run["packetsReceived"]])
        self.assertEqual(tables["Pings a second"], [[str(start), *map(number, counts)]
                                                    for start, _, *counts, _, _ in spans])
        self.assertEqual(tables["Round trips over time"], [[str(start), time(p50), time(most)]
                                                           for start, *_, p50, most in spans])
        self.assertEqual(data["timed"], run["packetsReceived"])
        self.assertEqual(data["bins"], [[round(low, 3), round(high, 3), count] for low, high, count in bins])
        for (one, high), seen in zip(tail(run), data["tail"], strict=True):
            self.assertAlmostEqual(one, seen[0], delta=0.001)
            self.assertAlmostEqual(high, seen[1], delta=0.001)
        for (start, length, sent, received, *rest), seen in zip(spans, data["time"], strict=True):
            self.assertEqual(seen[:1] + seen[3:], [start, *rest])
            self.assertAlmostEqual(seen[1], sent / length if length else None, delta=0.001)
            self.assertAlmostEqual(seen[2], received / length if length else None, delta=0.001)

    def test_shows_every_figure_of_a_run(self):
        made = report(1, seconds=2, tags={"b": "y", "a": "x"}, achievedPacketsPerSecond=49.123)
        made["unexpected"]["errorReplies"] = [{"code": 3, "text": "<busy>", "count": 2000}]
        for index, (*outer, name) in enumerate(COUNTS.values()):
            (made[outer[0]] if outer else made)[name] = 1001 + index
        for index, (_, name) in enumerate(LATENCIES.values()):
            made["latencyUs"][name] = 11 ** (index + 1) / 10
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
        self.check_charts(self.page(*self.write(plain=(plain := report(2, seconds=3, loss=0.1)))), plain, 0)
        self.assertNotIn("What this means", self.page(*self.write(fine=report(1, seconds=2))).words)

    def test_shows_three_digits(self):
        for us, told in ((0, "0 µs"), (0.0123, "0.0123 µs"), (999.4, "999 µs"), (12.25, "12.3 µs"),
                         (9995, "9.99 ms"), (999.4e3, "999 ms"), (1e6, "1.00 s"), (12345678, "12.3 s")):
            made = report(1, seconds=1)
            made["latencyUs"]["maximum"] = us
            self.assertIn(f"\nLongest {told}\n", re.sub(" +", " ", self.run_program(*self.write(x=made)).stdout))

    def test_shows_what_is_not_known(self):
        bare = report(3, seconds=2, loss=1, adapter=None, lineErrors=None, timing="window", verdict="outputFailed",
                      reasons=["full", "worse"], sendLagUs={"p99": None, "maximum": None}, achievedPacketsPerSecond=None,
                      host={"name": "here", "kernel": None, "machine": None})
        bare["configuration"] |= {"durationSeconds": 0, "moduleScreen": False, "maxP99Ms": 2.5, "maxLatencyMs": None}
        page, text = self.page(*self.write(bare=bare)), self.run_program("bare.json").stdout
        self.assertIn("✗Output failedfullworse\n", page.words)
        self.assertIn("bare: Output failed\n  full\n  worse\n", text)
        tested = dict(page.tables["What was tested"])
        for name, told in (("Adapter", "–"), ("Computer", "here"), ("Limits", "loss at most 0.1 %; p99 at most 2.5 ms"),
                           ("Timing", "as the window's"), ("Pings a second, truly", "–"), ("Settings",
                            "50 pings a second of 1 to 124 bytes, until stopped; time-out 500 ms; module's screen left alone")):
            self.assertEqual(tested[name], told)
        self.assertEqual([row[1] for row in page.tables["Round trips"]], ["Value"] + 8 * ["–"] + ["0", "–", "–"])
        self.assertEqual([row[1] for row in page.tables["Counts"][-5:]], 5 * ["–"])
        self.assertIn("How long round trips took: nothing was measured.", page.words)
        self.assertEqual(page.data["runs"][0]["bins"] + page.data["runs"][0]["tail"], [])
        poor = report(1, seconds=2, adapter=dict.fromkeys(bare.get("adapter") or report(1, seconds=1)["adapter"]))
        self.assertEqual(dict(self.page(*self.write(poor=poor)).tables["What was tested"])["Adapter"], "–")

    def test_joins_the_seconds_of_long_runs(self):
        short = report(1, seconds=1, rate=2)["seconds"][0]
        for seconds, step in ((400, 1), (401, 2), (801, 5), (2001, 10), (4001, 20), (8001, 30), (12001, 60), (24001, 61)):
            rows = [short | {"start": start, "p50Us": start * 7919 % 997 if start % 3 else None, "lost": start % 2,
                             "maximumUs": start * 31 % 101 if start % 7 else None} for start in range(seconds)]
            page = self.page(*self.write(long=(made := report(1, seconds=1, rate=2, seconds_=0) | {"seconds": rows})))
            self.check_charts(page, made, 0, step)

    def test_compares(self):
        burst = report(1)
        burst["seconds"][30]["maximumUs"] = 400000
        burst["latencyHistogramUs"].append([399000, 401000, 45])
        burst["latencyUs"] |= {"p99": 400000, "p999": 400000, "maximum": 400000}
        burst["packetsReceived"] += 45
        none = report(3, loss=1)
        runs = {"first": report(1), "noise": report(8), "burst": burst, "few": report(1, loss=0.003),
                "lossy": report(1, loss=0.01), "slow": report(9, middle_us=6200), "short": report(9, 7, 50, 9000),
                "eight": report(9, 8, 50, 9000, 0.1), "stretched": report(4, 33, 20, 5300, 0.05), "silent": none}
        self.write(**runs)
        marks = {"better": "▼ better", "worse": "▲ worse", "~": "no clear difference", "": ""}
        for first, *others in (("first", "noise", "burst", "few", "lossy", "slow"), ("slow", "first", "silent"),
                               ("eight", "short", "stretched"), ("lossy", "eight", "first")):
            names = [first, *others]
            files, figures = [name + ".json" for name in names], [ranges(runs[name]) for name in names]
            page, text = self.page(*files), self.run_program(*files).stdout
            rows = [re.split(r"\s{2,}", row) for row in text.splitlines()]
            self.assertEqual(rows[0], ["Less is better", *names])
            self.assertEqual(len(page.tables["Differences"]), 2 + len(figures[0]))
            self.assertEqual(page.tables["Differences"][0], ["Less is better", first + " held against", *others])
            self.assertEqual(rows[1], ["Verdict", *(runs[name]["verdict"].capitalize() for name in names)])
            for row, shown, (name, reference) in zip(rows[2:], page.tables["Differences"][2:], figures[0].items()):
                show, cells, marked = percent if name == LOST else time, [], []
                for run in figures:
                    value, low, high = run[name]
                    mark = "" if run is figures[0] else difference(reference, run[name])
                    cells.append((show(value) + " " + mark).strip())
                    marked.append(show(value) + f" {show(low)} to {show(high)}" * (low is not None) + marks[mark])
                self.assertEqual(row, [name, *cells], names)
                self.assertEqual(shown, [name, *marked], names)
            for index, name in enumerate(names[:2]):
                self.check_charts(page, runs[name], index, prefix=name + ": ") if name != "silent" else None
        self.assertIn("Held against first", self.page("first.json", "noise.json").words)

    def test_warns_of_different_tests(self):
        changes = {"baud rate": {"baudRate": 9600}, "ping rate": {"packetsPerSecond": 49},
                   "smallest payload": {"minDataSizeBytes": 2}, "largest payload": {"maxDataSizeBytes": 123},
                   "time-out": {"timeoutMs": 501}, "writing on the module's screen": {"moduleScreen": False}}
        first = report(1, seconds=1)
        runs = {name: first | {"configuration": first["configuration"] | change} for name, change in changes.items()}
        runs |= {"way of timing": first | {"timing": "window"},
                 "adapter's latency timer": first | {"adapter": first["adapter"] | {"latencyTimerMs": 2}}}
        names = list(runs)
        self.write(first=first, **{f"r{index}": runs[name] for index, name in enumerate(names)})
        for index, name in enumerate(names):
            files = ["first.json", f"r{index}.json"]
            self.assertIn(f"Not the same test; the runs differ in {name}.\n", self.run_program(*files).stdout)
            self.assertIn(f"Not the same test. The runs differ in {name}; ", self.page(*files).words)
        self.assertIn("differ in baud rate, ping rate.\n", self.run_program("first.json", "r0.json", "r1.json").stdout)
        self.assertNotIn("Not the same", self.run_program("first.json", "first.json").stdout)
        none = first | {"adapter": None}
        self.assertNotIn("Not the same", self.run_program(*self.write(a=none, b=none)).stdout)

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
        def names(count, *arguments, **tags):
            files = self.write(**{f"r{i}": report(1, 1, 2, tags={key: values[i] for key, values in tags.items() if
                                                                  values[i]}) for i in range(count)})
            return re.split(r"\s{2,}", self.run_program(*files, *arguments).stdout.splitlines()[0])[1:]
        self.assertEqual(names(2, cable="AB", site="XX"), ["cable A", "cable B"])
        self.assertEqual(names(2, site="XY", cable="AB"), ["cable A, site X", "cable B, site Y"])
        self.assertEqual(names(2, "--by=site", cable="AB", site="XY"), ["site X", "site Y"])
        self.assertEqual(names(2, "--by=site", cable="AB", site="XX"), ["r0", "r1"])
        self.assertEqual(names(3, cable="AAB"), ["r0", "r1", "r2"])
        self.assertEqual(names(2, cable=("A", "")), ["r0", "r1"])
        self.assertEqual(names(2, cable=("A" * 55, "B")), ["cable " + "A" * 54, "cable B"])
        os.mkdir("sub")
        pathlib.Path("sub/r0.json").write_bytes(pathlib.Path("r0.json").read_bytes())
        self.assertIn(" r0.json  sub/r0.json\n", self.run_program("r0.json", "sub/r0.json").stdout)

    def test_keeps_hostile_texts_harmless(self):
        made = report(1, seconds=2, tags={"cable": HOSTILE, "x": HOSTILE}, reasons=[HOSTILE])
        text = self.run_program(*self.write(hostile=made)).stdout
        safe = "".join("?" if unicodedata.category(c)[0] == "C" else c for c in HOSTILE)
        self.assertIn(f"  cable: {safe}\n", text)
        page = self.page("hostile.json", *self.write(other=report(1, seconds=2, tags={"cable": "B"})), "--by=cable")
        self.assertEqual(page.data["runs"][0]["label"], ("cable " + HOSTILE)[:60])
        self.assertLessEqual({character for character in page.raw} & set("<>&\u2028\u2029"), set())
        self.assertNotIn("<img", self.run_program("hostile.json", "--html=-").stdout)
        shown = dict(row[:2] for row in page.tables["What was tested"])["Tag x"]
        self.assertEqual(shown, HOSTILE.replace("\x1b", "\ufffd").replace("\u202e", "\ufffd"))

    def test_explains_and_documents_every_cause(self):
        documented = {title: (where, source, when) for title, where, source, when in rows_of("Sentence")}
        def found(changes):
            made = report(2, loss=0.1, seconds=2)
            for path, value in changes.items():
                *outer, name = path.split()
                (made[outer[0]] if outer else made)[name] = value
            text = self.run_program(*self.write(x=made)).stdout
            for title, where in re.findall(r"^(.*) \[(.*)\]: ", text, re.M):
                self.assertEqual(where, documented[title][0])
            return dict(re.findall(r"^(.*) \[.*\]: (.*)$", text, re.M))
        fine = {"packetsLost": 0, "achievedPacketsPerSecond": 50, "lossBursts longest": 4}
        self.assertEqual(found(fine | {"sendLagUs p99": 20000, "estimatedTrafficToModule lineSharePercent": 89.9,
                                       "adapter latencyTimerMs": 1}), {})
        self.assertEqual(found(fine | {"achievedPacketsPerSecond": 45}), {})
        self.assertEqual(found(fine | {"achievedPacketsPerSecond": 1, "sendingSeconds": 0.9, "sendLagUs p99": None}), {})
        self.assertEqual(found(fine | {"packetsSent": 0, "packetsReceived": 0, "achievedPacketsPerSecond": None}), {})
        silent = {"packetsReceived": 0, "packetsSent": 7, "lossBursts longest": 99}
        seen = {title for changes in (silent, silent | {"lineErrors": None}) for title in found(changes)}
        self.assertEqual(seen, {"No echo at all"})
        cases = {"The line was lost": ({"verdict": "lineLost"}, "No ping"), "No echo at all": (silent, "None of 7 "),
                 "Losses without line errors": ({"packetsLost": 7}, "7 pings"), "Coarse timing": ({"timing": "window"}, ""),
                 "Losses, line errors unknown": ({"packetsLost": 7, "lineErrors": None}, "7 pings"),
                 "Losses in a row": ({"lossBursts longest": 5}, "Up to 5 "),
                 "Pings sent late": ({"sendLagUs p99": 20100}, "1 ping in 100 left more than 20.1 ms"),
                 "Fewer pings than asked for": ({"achievedPacketsPerSecond": 44.9, "sendingSeconds": 1}, "Only 89.8 %"),
                 "The line was full": ({"estimatedTrafficToModule lineSharePercent": 90}, "The pings took 90 %"),
                 "Latency timer": ({"adapter latencyTimerMs": 1.5}, "The adapter may hold received bytes back for up to 1.5"),
                 "Error replies": ({"unexpected errorReplies": [{"code": code, "text": "", "count": 3} for code in (0, 255)]},
                                   "The module answered with an error instead of an echo (counted: 6)")}
        for title, (_, source, _) in documented.items():
            changes, told = cases.get(title) or ({source.strip("`").replace(".", " "): 7}, "7")
            sentences = found(fine | changes)
            self.assertIn(told, sentences.pop(title))
            self.assertEqual(sentences, {})
        self.assertIn("5.1 ms", found(fine | {"sendLagUs p99": 5100, "configuration packetsPerSecond": 200,
                                              "achievedPacketsPerSecond": 200})["Pings sent late"])
        self.assertIn("0.1 %", found(fine | {"achievedPacketsPerSecond": 0})["Fewer pings than asked for"])

    def test_tells_what_it_cannot_read(self):
        whole, large = report(seconds=2, version="1.1"), "x" * (64 * 1024 * 1024 + 1)
        bad, half = {}, json.dumps(whole)[:900]
        def broken(path, value, complaint):
            made, *outer = copy.deepcopy(whole), *path.split()
            place = made
            for name in outer[:-1]:
                place = place[int(name) if name.isdigit() else name]
            place[outer[-1]] = value
            bad[f"b{len(bad)}"] = (made, complaint)
        for path, value, wanted in (
                ("latencyUs p99", [], "a number of 0 or more"), ("latencyUs p99", -0.1, "a number of 0 or more"),
                ("configuration", 1, "an object"), ("adapter", [], "an object"), ("reasons", 1, "an array"),
                ("timing", 1, "a text"), ("host name", 1, "a text"), ("configuration moduleScreen", 0, "true or false"),
                ("start", "today", "a date and time"), ("verdict", "good", "a known word"),
                ("configuration baudRate", 0, "in its range"), ("configuration packetsPerSecond", 0, "in its range"),
                ("configuration timeoutMs", 2147483648, "in its range"), ("configuration minDataSizeBytes", -1, "a count"),
                ("packetsSent", 1.5, "a count"), ("packetsSent", 1e12 + 1, "a count"), ("packetsLost", None, "a count")):
            broken(path, value, f"its {path.replace(' ', '.')} is not {wanted}")
        broken("seconds 1 lost", -1, "its seconds: lost is not a count")
        for code in (-1, 256):
            broken("unexpected errorReplies", [{"code": code, "text": "", "count": 1}],
                   "its errorReplies: code is not " + ("a count" if code < 0 else "in its range"))
        for bins in ([[5, 4, 1]], [[4, 4, 1]], [[1, 2, 0]], [[1, 2, 1], [1.9, 3, 1]], [[-1, 2, 1]], [[1, 2, 10 ** 12 + 1]]):
            broken("latencyHistogramUs", bins,
                   "its latencyHistogramUs is not a row of [lower, upper, count], shortest first")
        older = "it is a report of format 1, made by an older packetbrask-run; only format 2 can be read"
        bad |= {"other": ("{}", "it is no report of packetbrask-run"), "large": (large, "it is too large for a report"),
                "limit": (large[:-1], "it is no JSON, or only a part of it: illegal value at byte 1"),
                "half": (half, "it is no JSON, or only a part of it: unterminated string at byte 901"),
                "older": ({key: value for key, value in whole.items() if key != "format"}, older),
                "newer": (whole | {"format": 3}, "its format 3 is not known, only format 2 can be read")}
        self.write(good=whole, **{name: made for name, (made, _) in bad.items()})
        bad["absent"] = ("", "No such file or directory")
        told = self.run_program(*(name + ".json" for name in bad), status=2).stderr
        self.assertEqual(told.splitlines(), [f"packetbrask-report: {name}.json: {complaint}"
                                             for name, (_, complaint) in bad.items()])
        self.run_program("other.json", "good.json", "--html=page", status=1)
        self.assertIn("good – PacketBrask", pathlib.Path("page").read_text(encoding="utf-8"))
        edges = copy.deepcopy(whole) | {"packetsSent": 10 ** 12, "latencyHistogramUs": [[0, 1, 10 ** 12], [1, 2, 1]]}
        edges["unexpected"]["errorReplies"] = [{"code": code, "text": "", "count": 0} for code in (0, 255)]
        edges["configuration"] |= {"baudRate": 1, "packetsPerSecond": 1, "minDataSizeBytes": 0, "timeoutMs": 2147483647}
        self.run_program(*self.write(edges=edges))

    def test_options_and_statuses(self):
        self.write(good=report(seconds=2))
        told = self.run_program("--help").stdout
        named = {name for row in rows_of("Option") for name in re.findall(r"--\w+", row[0])}
        self.assertEqual(set(re.findall(r"^  (?:-\w, )?(--\w+)", told, re.M)), named)
        self.assertRegex(self.run_program("--version").stdout, r"^packetbrask-report \d+\.\d+\n$")
        os.mkfifo("pipe")
        seen, taken = {0, 1}, "it is there and no regular file"
        for arguments, status, complaint in (
                ((), 2, "no report is given; --help tells how"), (("good.json", "--by="), 2, '--by: "" is not allowed'),
                (("good.json", "--html="), 2, '--html: "" is not allowed'), (("good.json", "--x"), 2, "Unknown option 'x'."),
                (("good.json", "--html=./good.json"), 2, '--html: "./good.json" is one of the reports'),
                (("good.json", "--text", "--html=-"), 2,
                 '--html: "-" is not allowed with --text, which needs standard output'),
                (("good.json", "--html=/nowhere/x"), 3, "cannot write /nowhere/x: No such file or directory"),
                (("good.json", "--html=pipe"), 3, "cannot write pipe: " + taken)):
            self.assertEqual(self.run_program(*arguments, status=status).stderr, f"packetbrask-report: {complaint}\n")
            seen.add(status)
        self.assertEqual({int(row[0]) for row in rows_of("Exit status")}, seen)
        with open("/dev/full", "w", encoding="ascii") as full:
            for arguments in (("good.json",), ("good.json", "--html=-"), ("--help",)):
                done = self.run_program(*arguments, status=3, stdout=full, stderr=subprocess.PIPE)
                self.assertIn("cannot write to standard output: No space left on device\n", done.stderr)
        self.assertEqual(self.run_program("good.json", "--html=page").stdout, "")
        self.assertIn("Passed", self.run_program("good.json", "--html=page", "--text").stdout)


if __name__ == "__main__":
    unittest.main()
