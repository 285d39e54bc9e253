"""MODULE SURVEY REPORT SCHEMA: the built programs against a module that takes only so many pings."""

import concurrent.futures
import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema

MODULE, SURVEY, REPORT, SCHEMA_FILE = sys.argv[1:]
SCHEMA = json.loads(pathlib.Path(SCHEMA_FILE).read_text(encoding="utf-8"))


def check(module_options, options, happens, status):
    """A survey during which, after its first trial, something `happens`."""
    with tempfile.TemporaryDirectory() as folder:
        files = {name: pathlib.Path(folder, name) for name in ("json", "summary", "html")}
        module = subprocess.Popen([MODULE, "--summary", files["summary"], *module_options],
                                  stdout=subprocess.PIPE, text=True)
        program = subprocess.Popen([SURVEY, "--port", module.stdout.readline().strip(), "--json", files["json"],
                                    "--sizes=8,16", "--trial=0.2", "--timeout=50", "--baud=9600", *options],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        errors = ""
        for line in program.stderr:
            errors += line
            if errors.count(" sent, ") == 1 and " sent, " in line:
                happens(module, program)
        table = program.communicate(timeout=60)[0]
        module.terminate()
        module.communicate(timeout=60)
        report = json.loads(files["json"].read_text(encoding="utf-8"))
        jsonschema.validate(report, SCHEMA, format_checker=jsonschema.FormatChecker())
        assert program.returncode == report["exitStatus"] == status, errors
        assert (not report["reasons"]) == report["complete"] == (status == 0), report
        shown = subprocess.check_output([REPORT, files["json"], "--text", "--html", files["html"]], text=True)
        shown_as = ["ncomplete" in text for text in (files["html"].read_text(encoding="utf-8"), shown, table)]
        assert shown_as == [status != 0] * 3
        return table, shown, report, json.loads(files["summary"].read_text(encoding="utf-8"))


def finds_the_rate():
    table, shown, report, counts = check(["--drop-above=40"], ["--sizes=8", "--tag=cable=7"], lambda *_: None, 0)
    found = (size := report["sizes"][0])["withoutLoss"]["packetsPerSecond"]
    assert 20 <= found <= 55 and f" {found} " in table and f"{found}/s" in shown and "cable 7" in shown, report
    assert all(trial["packetsSent"] == trial["packetsReceived"] + trial["packetsLost"] for trial in size["trials"])
    assert counts["tooFast"] > 0 and counts["pingsReceived"] == counts["tooFast"] + counts["echoesIntact"]


def keeps_what_is_known():
    for module, happens, status, known in (([], lambda module, program: program.terminate(), 1, True),
                                           ([], lambda module, program: module.terminate(), 4, True),
                                           (["--drop=1"], lambda *_: None, 1, False)):
        assert bool(check(module, [], happens, status)[2]["sizes"][0]["trials"]) == known


with concurrent.futures.ThreadPoolExecutor() as pool:
    for result in [pool.submit(case) for case in (finds_the_rate, keeps_what_is_known)]:
        result.result()
