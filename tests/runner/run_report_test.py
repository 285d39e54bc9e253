#!/usr/bin/python3
"""MODULE RUNNER SCHEMA: real reports keep to the schema, and their figures to one another."""

import csv
import json
import pathlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

import jsonschema

MODULE, RUNNER, SCHEMA = sys.argv[1:]
FATES = {"noEchoInTime": "noEchoInTime", "noEchoAtEnd": "noEchoAtEnd", "changedEcho": "changedEcho"}

# Options of the module and of the runner, exit status.
CASES = {
    "passes": ([], ["--timing", "window"], 0),
    "fails": (["--drop", "0.1", "--alter", "0.1", "--duplicate", "0.1", "--error-reply", "0.1",
               "--report", "0.1", "--truncate", "0.1"], ["--max-p99", "0.001", "--no-screen"], 1),
    "has no echo": (["--drop", "1"], ["--tag", "cable=a=\u00e4"], 1),
    "loses its line": (["--unplug-after", "0.6"], ["--duration", "0", "--max-loss", "100"], 4),
}


def total(spans, name):
    return sum(span[name] for span in spans)


def check(report, rows, suite):
    jsonschema.validate(report, json.loads(pathlib.Path(SCHEMA).read_text(encoding="utf-8")),
                        format_checker=jsonschema.FormatChecker())
    sent, received, lost = (report["packets" + what] for what in ("Sent", "Received", "Lost"))
    fates = [row["Fate"] for row in rows]
    assert [int(row["Number"]) for row in rows] == list(range(len(rows)))
    assert fates.count("notSent") == report["sendFailures"] and len(rows) - sent == fates.count(
        "notSent")
    assert fates.count("received") + fates.count("receivedAtEnd") == received
    for cause, fate in FATES.items():
        assert fates.count(fate) == report["lossCauses"][cause], cause
    assert sum(report["lossCauses"].values()) == lost
    assert sum(count for _, _, count in report["latencyHistogramUs"]) == received
    for what, count in (("sent", sent), ("received", received), ("lost", lost)):
        assert total(report["seconds"], what) == count, what
    times = [float(row["RoundTripUs"]) for row in rows if row["Fate"].startswith("received")]
    latency = report["latencyUs"]
    assert latency["maximum"] == (max(times) if times else None)
    assert latency["minimum"] == (min(times) if times else None)
    failures = [case.find("failure") for case in suite]
    assert [failure.get("message") for failure in failures if failure is not None] == \
        report["reasons"]


def main():
    for name, (faults, options, status) in CASES.items():
        with tempfile.TemporaryDirectory() as folder, subprocess.Popen(
                [MODULE, "--seed", "3", *faults], stdout=subprocess.PIPE, text=True) as module:
            files = {kind: pathlib.Path(folder, kind) for kind in ("json", "junit", "pings")}
            line = module.stdout.readline().strip()
            code = subprocess.call([RUNNER, "--port", line, "--quiet", "--rate", "300",
                                    "--duration", "1", "--timeout", "60",
                                    *(f"--{kind}={path}" for kind, path in files.items()),
                                    *options], stderr=subprocess.DEVNULL)
            module.terminate()
            report = json.loads(files["json"].read_bytes())
            with open(files["pings"], encoding="ascii", newline="") as rows:
                check(report, list(csv.DictReader(rows)),
                      [element for element in xml.etree.ElementTree.parse(files["junit"]).iter()
                       if element.tag == "testcase"])
            assert code == status == report["exitStatus"], (name, code)
            assert report["timing"] == ("window" if "window" in options else "exact")
            assert report["configuration"]["moduleScreen"] == ("--no-screen" not in options)
            assert (report["sendLagUs"]["p99"] is None) == ("window" in options)
            print(name, report["verdict"])


if __name__ == "__main__":
    main()
