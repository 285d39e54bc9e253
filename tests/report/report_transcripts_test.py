"""What the built program says of made-up reports: report_transcripts_test.py PROGRAM PROJECT [--write].

The folder transcripts/ has the command lines and what is expected of each; --write puts there what the program says
now, for the difference to be read.
"""

import difflib, html, json, os, pathlib, re, subprocess, sys, unittest

import helpers
from sample_reports import batch, changed, compared, explained, report, samples, singles, survey

PROGRAM, PROJECT = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1)).resolve()
WRITES = sys.argv[1:] == ["--write"]
del sys.argv[1:]
DOCUMENT = (PROJECT / "docs/report.md").read_text(encoding="utf-8")
TRANSCRIPTS = PROJECT / "tests/report/transcripts"
MEMBERS = {name: path.strip("`") for name, path in helpers.rows_of(DOCUMENT, "On the page")}
UNREADABLE, UNREADABLE_SURVEYS = (block.split() for block in (PROJECT / "tests/report/unreadable.txt").read_text(
    encoding="utf-8").split("\n\n")[1::2])


def edges():
    """Reports just inside what can be read."""
    values = {"configuration.baudRate": 1, "configuration.packetsPerSecond": 1, "configuration.minDataSizeBytes": 0,
              "configuration.maxDataSizeBytes": 0, "configuration.timeoutMs": 2147483647, "packetsSent": 10 ** 12,
              "latencyHistogramUs": [[0, 1, 10 ** 12], [1, 2, 1]]}
    run = changed(report(seconds=2, version="1.1"), values)
    run["unexpected"]["errorReplies"] = [{"code": code, "text": "", "count": 0} for code in (0, 255)]
    loaded = survey()["sizes"][0]["loads"][0] | {"percent": 0, "packetsPerSecond": 0}
    nothing = {name: 0 for name in ("sizeBytes", "capacityPacketsPerSecond")}
    values = {"configuration.baudRate": 1, "configuration.timeoutMs": 0, "complete": True, "reasons": [], "tags": {}}
    older = changed(run, {"configuration.timeoutMs": 0})
    del older["packetsLeftOut"], older["bytes"]
    for name in ("maxLeftOutPercent", "payload", "loopback"):
        del older["configuration"][name]
    return {"edge": run, "edge-time": older, "survey": survey(), "edge-survey": changed(survey(), values) | {
        "sizes": [survey()["sizes"][2] | nothing | {"complete": True, "loads": [loaded]}]}}


def unreadable():
    run = edges()["edge"]
    made = {change: changed(base, {path: json.loads(value)}) for base, changes in (
        (run, UNREADABLE), (survey(), UNREADABLE_SURVEYS)) for change in changes for path, value in [change.split("=")]}
    large = "x" * (64 * 1024 * 1024 + 1)
    return made | {"other": {}, "large": large, "limit": large[:-1], "half": json.dumps(run)[:900], "survey": survey(),
                   "older": {key: value for key, value in run.items() if key != "format"}}


def write(made, folder="."):
    os.makedirs(folder, exist_ok=True)
    for name, value in made.items():
        text = value if isinstance(value, str) else json.dumps(value)
        pathlib.Path(folder, name + ".json").write_text(text, encoding="utf-8")


def run(*arguments, **more):
    """The exit status and all that was told, without what is the same on every page."""
    done = subprocess.run([PROGRAM, *arguments], stderr=subprocess.STDOUT, text=True, timeout=60, check=False,
                          env=os.environ | {"LC_ALL": "C"}, **{"stdout": subprocess.PIPE} | more)
    told = re.sub(r"<(style|script)>.*?</\1>\n", "", done.stdout or "", flags=re.S).replace("],[", "],\n[")
    told = re.sub("(or only a part of it: ).*(?= at byte)", r"\1...", told)  # Qt's words, which change
    return done.returncode, told


class TranscriptsTest(helpers.FolderTest):
    def test_transcripts(self):
        values = {path: 101 + index for index, path in enumerate(MEMBERS.values())} | {
            "tags": {"b": "y", "a": "x"}, "achievedPacketsPerSecond": 49.123,
            "unexpected.errorReplies": [{"code": 3, "text": "<busy>", "count": 2000}, {"code": None, "text": "", "count": 9}]}
        write(singles() | compared() | explained() | batch() | {"every": changed(report(1, seconds=2), values)})
        for folder, made in (("batch", batch()), ("explained", explained()), ("samples", samples()), ("edges", edges()),
                             ("unreadable", unreadable())):
            write(made, folder)
        for file in TRANSCRIPTS.iterdir():
            expected, told = file.read_text(encoding="utf-8"), ""
            for line in re.findall(r"^\$ packetbrask-report.*\n", expected, re.M):
                words = [sorted(map(str, pathlib.Path().glob(word))) if "*" in word else [word]
                         for word in line.split()[2:]]
                status, text = run(*sum(words, []))
                told += line + text + f"[{status}]\n" * (status != 0)
            if WRITES:
                expected = told[:file.write_text(told, encoding="utf-8")]
            difference = difflib.unified_diff(expected.splitlines(), told.splitlines(), n=1, lineterm="")
            self.assertEqual("\n".join(difference), "", file.name)
        page = html.unescape(run("every.json", "--html=-")[1])
        cells = [f"{name}</th><td>{101 + index}{' µs' if 'latencyUs' in path else ''}</td>"
                 for index, (name, path) in enumerate(MEMBERS.items())]
        self.assertEqual([cell for cell in cells if cell not in page], [])
        told = {tuple(found) for file in TRANSCRIPTS.iterdir() for found in
                re.findall(r"^([A-Z].*) \[([A-Z].*)\]: ", file.read_text(encoding="utf-8"), re.M)}
        self.assertEqual(told, {(title, where) for title, where, *_ in helpers.rows_of(DOCUMENT, "Sentence")})

    def test_joins_the_seconds_of_long_runs(self):
        made = report(1, seconds=1, rate=2)
        for seconds, step in ((400, 1), (401, 2), (801, 5), (2001, 10), (4001, 20), (8001, 30), (12001, 60),
                              (24001, 61)):
            rows = [made["seconds"][0] | {
                "start": start, "p50Us": start * 7919 % 997 if start % 3 else None, "lost": start % 2,
                "maximumUs": start * 31 % 101 if start % 7 else None} for start in range(seconds)]
            write({"long": made | {"seconds": rows}})
            spans = []
            for part in (rows[start:start + step] for start in range(0, seconds, step)):
                p50s, most = ([row[key] for row in part if row[key] is not None] for key in ("p50Us", "maximumUs"))
                spans.append([part[0]["start"], 2, 2, sum(row["lost"] for row in part),
                              sorted(p50s)[len(p50s) // 2] if p50s else None, max(most, default=None)])
            data = re.search('id="data">(.*?)</script>', run("long.json", "--html=-")[1], re.S)[1]
            self.assertEqual(json.loads(data)["runs"][0]["time"]["rows"], spans)

    def test_options_and_statuses(self):
        write({"good": report(seconds=2)})
        named = {name for row in helpers.rows_of(DOCUMENT, "Option") for name in re.findall(r"--\w+", row[0])}
        told = run("--help")[1]
        self.assertEqual(set(re.findall(r"^  (?:-\w, )?(--\w+)", told, re.M)), named)
        self.assertRegex(told, r"\[options\] report\.\.\.\n")
        with open("/dev/full", "w", encoding="ascii") as full:
            for arguments in (("good.json",), ("good.json", "--html=-"), ("--help",)):
                self.assertEqual(run(*arguments, stdout=full)[0], 5)
        self.assertEqual(run("good.json", "--html=page"), (0, ""))
        self.assertIn("Passed", run("good.json", "--html=page", "--text")[1])
        self.assertIn("good – PacketBrask", pathlib.Path("page").read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
