"""Holds the runner's account of every ping against the module's own. Started by scripts/truth."""

import argparse
import collections
import csv
import json
import pathlib
import subprocess
import sys
import tempfile

RECEIVED = {"received", "receivedAtEnd"}
GIVEN_UP = {"noEchoInTime", "noEchoAtEnd"}
# What a pseudo-terminal on a busy machine may take to hand an answer over.
TRANSIT_US = 10000
WITHOUT_ECHO = {"dropped", "tooFast", "overrun", "unanswered", "errorReply", "corrupted"}


def expected(fate):
    """What may become of a ping that the module treated so."""
    if fate == "intact":
        return RECEIVED
    if WITHOUT_ECHO & set(fate.split("+")):
        return GIVEN_UP
    # Cut or changed within its number, an echo belongs to no ping.
    return {"changedEcho"} | GIVEN_UP


def run(options, folder):
    files = {name: pathlib.Path(folder, name) for name in ("ledger", "pings", "report")}
    with subprocess.Popen([options.module, "--ledger", files["ledger"], *options.faults],
                          stdout=subprocess.PIPE, text=True) as module:
        line = module.stdout.readline().strip()
        code = subprocess.call([options.runner, "--port", line, "--quiet", "--rate", options.rate,
                                "--duration", options.seconds, "--timeout", options.timeout,
                                "--timing", options.timing, "--max-loss", "100",
                                "--max-left-out", "100",
                                "--pings", files["pings"], "--json", files["report"]])
        module.terminate()
    if code not in (0, 1):
        sys.exit(f"scripts/truth: the runner ended with {code}")
    with open(files["ledger"], encoding="ascii", newline="") as ledger:
        truth = {int(row["Number"]): row for row in csv.DictReader(ledger)}
    with open(files["pings"], encoding="ascii", newline="") as pings:
        rows = list(csv.DictReader(pings))
    return truth, rows, json.loads(files["report"].read_bytes())


def chance_frames(report, ledger):
    """Frames that the runner has seen and the module has not sent: bytes that happened to be one.

    At least so many: half of all commands read as reports and error replies, which the module does
    send, and some of those are hidden themselves.
    """
    seen = report["unexpected"]
    reports = sum("report" in entry["Extras"].split("+") for entry in ledger)
    errors = sum(1 + ("duplicated" in entry["Extras"].split("+")) for entry in ledger
                 if "errorReply" in entry["Fate"] and "corrupted" not in entry["Fate"])
    return (seen["otherPackets"] + max(0, seen["reports"] - reports)
            + max(0, sum(each["count"] for each in seen["errorReplies"]) - errors))


def answered_after_us(row, entry, offset_us):
    """From the ping's sending by the runner's clock to its answer by the module's."""
    return (float(entry["ArrivedUs"]) + float(entry["HeldUs"] or "inf") - float(row["SentUs"])
            - offset_us)


def compare(truth, rows, timeout_us, exact):
    """How many pings agree, the named differences, and those without a name."""
    agree, named, nameless = collections.Counter(), collections.Counter(), []
    # The clocks are one, but the runner counts from its run's start: the ping that was the
    # quickest to arrive tells how far apart they are.
    offset_us = min((float(truth[int(row["Number"])]["ArrivedUs"]) - float(row["SentUs"])
                     for row in rows if int(row["Number"]) in truth), default=0)
    for row in rows:
        number, fate = int(row["Number"]), row["Fate"]
        entry = truth.pop(number, None)
        if entry is None:
            (agree if fate == "notSent" else named)["never arrived"] += 1
            if fate != "notSent":
                nameless.append((number, fate, "never arrived"))
        elif exact and fate in RECEIVED and float(row["RoundTripUs"]) > timeout_us:
            nameless.append((number, fate, f"{entry['Fate']}, after the time-out"))
        elif fate in expected(entry["Fate"]):
            agree[f"{entry['Fate']}: {fate}"] += 1
        elif (entry["Fate"] == "intact" and fate in GIVEN_UP
              and answered_after_us(row, entry, offset_us) > timeout_us - TRANSIT_US):
            named["answered after the time-out"] += 1
        else:
            nameless.append((number, fate, f"{entry['Fate']} {entry['Extras']}".strip()))
    nameless += [(number, "unknown", entry["Fate"]) for number, entry in truth.items()]
    return agree, named, nameless


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("module", type=pathlib.Path)
    parser.add_argument("runner", type=pathlib.Path)
    parser.add_argument("--seconds", default="20")
    parser.add_argument("--rate", default="1000")
    parser.add_argument("--timeout", default="200")
    parser.add_argument("--timing", default="exact")
    parser.add_argument("faults", nargs="*")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="packetbrask-truth.") as folder:
        truth, rows, report = run(options, folder)
    by_chance = chance_frames(report, truth.values())
    agree, named, nameless = compare(truth, rows, 1000 * int(options.timeout),
                                     options.timing == "exact")
    for title, counts in (("agree", agree), ("differ", named)):
        for what, count in sorted(counts.items()):
            print(f"{title:8}{count:9}  {what}")
    for number, fate, was in nameless[:20]:
        print(f"UNNAMED ping {number}: the runner says {fate}, the module {was}")
    print(f"{len(rows)} pings, {sum(agree.values())} agree, {sum(named.values())} differ with a "
          f"name, {len(nameless)} without; frames by chance: {by_chance}")
    return 1 if nameless or not rows else 0


if __name__ == "__main__":
    sys.exit(main())
