"""Reports as packetbrask-run and packetbrask-survey write them, of made-up runs and surveys."""

import copy
import json
import math
import pathlib
import random

HOSTILE = "</script /><img src=x onerror=alert(1)>\u2028\"'&\u202e\x1b[31m{{data}}"


def quantile(values, share):
    return values[min(len(values) - 1, int(share * len(values)))] if values else None


def stored(name):
    return json.loads(pathlib.Path(__file__).with_name(name + ".json").read_text(encoding="utf-8"))


def changed(made, changes):
    """A copy with other values at the paths, whose names and places are joined by points."""
    made = copy.deepcopy(made)
    for path, value in changes.items():
        place, *outer, name = made, *path.split(".")
        for step in outer:
            place = place[int(step) if step.isdigit() else step]
        place[name] = value
    return made


def report(seed=1, seconds=60, rate=50, middle_us=5200.0, loss=0.0, tags=None, **changes):
    """A run that lost pings with the chance `loss`; `changes` replace members of the report."""
    chance = random.Random(seed)
    every, rows, bins = [], [], {}
    for start in range(seconds):
        lost = sum(chance.random() < loss for _ in range(rate))
        took = sorted(round(middle_us * math.exp(abs(chance.gauss(0, 0.18))) + (chance.random() < 0.004) *
                            chance.expovariate(1 / 30000), 1) for _ in range(rate - lost))
        every += took
        rows.append({"start": start, "length": 1, "sent": rate, "received": len(took), "lost": lost,
                     "p50Us": quantile(took, 0.5), "maximumUs": quantile(took, 1)})
    every.sort()
    for took in every:
        bins[int(math.log2(took) * 32)] = bins.get(int(math.log2(took) * 32), 0) + 1
    lost = rate * seconds - len(every)
    sent = len(every) + lost
    mean = sum(every) / len(every) if every else None
    us = {name: quantile(every, share) for name, share in
          (("minimum", 0), ("p50", 0.5), ("p90", 0.9), ("p99", 0.99), ("p999", 0.999), ("maximum", 1))}
    us |= {"mean": mean, "standardDeviation":
           math.sqrt(sum((took - mean) ** 2 for took in every) / len(every)) if every else None}
    traffic = {"bytesPerSecond": rate * 70, "lineSharePercent": rate * 70 * 1100 / 115200}
    made = changed(stored("report"), {
        "configuration.packetsPerSecond": rate, "configuration.durationSeconds": seconds, "tags": tags or {},
        "start": f"2026-11-22T10:{seed % 60:02}:00.000+01:00", "end": f"2026-11-22T11:{seed % 60:02}:00.000+01:00",
        "sendingSeconds": seconds, "requestedPacketsPerSecond": rate, "achievedPacketsPerSecond": sent / seconds,
        "packetsSent": sent, "packetsReceived": len(every), "packetsLost": lost,
        "successRatePercent": 100 - 100 * lost / sent,
        "lossCauses": {"noEchoInTime": lost, "noEchoAtEnd": 0, "changedEcho": 0},
        "lossBursts": {"count": min(lost, 7), "longest": min(lost, 3)},
        "latencyMs": {name: us[key] and us[key] // 1000 for name, key in
                      (("average", "mean"), ("minimum", "minimum"), ("maximum", "maximum"))},
        "latencyUs": us, "seconds": rows, "estimatedTrafficToModule": traffic, "estimatedTrafficFromModule": traffic,
        "latencyHistogramUs": [[2 ** (key / 32), 2 ** ((key + 1) / 32), bins[key]] for key in sorted(bins)]})
    if 100 * lost > 0.1 * sent:
        made |= {"verdict": "failed", "exitStatus": 1, "reasons":
                 [f"{lost} of {sent} packets were lost ({100 * lost / sent:.4g} %), allowed are 0.1 %"]}
    return made | changes


def survey():
    """A survey of three payloads: one hindered, one at no rate of which all came back, one not ended."""
    return stored("survey")


def samples():
    """What each page may have to show."""
    lossy = report(2, loss=0.02, middle_us=6100, tags={"cable": "B"}, sendLagUs={"p99": 31000, "maximum": 80000})
    return {"passed": report(1, tags={"cable": "A"}), "silent": report(3, loss=1, lineErrors=None),
            "lossy": changed(lossy, {"lineErrors.framing": 41, "unexpected.errorReplies": [
                {"code": 3, "text": HOSTILE, "count": 4}, {"code": None, "text": "no code", "count": 5}]}), "hour": report(5, seconds=3600, rate=20, loss=0.0005),
            "hostile": changed(report(6, tags={HOSTILE: HOSTILE, "cable": HOSTILE}, reasons=[HOSTILE], adapter=None,
                                      seconds=2), {"configuration.payload": "file:" + HOSTILE, "configuration.loopback": True})}


def compared():
    """Runs that differ by more than chance, or do not."""
    burst = report(1)
    burst["seconds"][30]["maximumUs"] = 400000
    burst["latencyHistogramUs"].append([399000, 401000, 45])
    burst["latencyUs"] |= {"p99": 400000, "p999": 400000, "maximum": 400000}
    burst["packetsReceived"] += 45
    named = {f"{cable}-{site}": report(1, 1, 2, tags={"cable": cable, "site": site})
             for cable in "AB" for site in "XY"}
    first = named["A-X"] | {"tags": {}}
    settings = {"baudRate": 9600, "packetsPerSecond": 49, "timeoutMs": 501, "minDataSizeBytes": 2,
                "maxDataSizeBytes": 123, "moduleScreen": False}
    return named | {
        "first": report(1), "burst": burst, "lossy": report(1, loss=0.01), "slow": report(9, middle_us=6200),
        "eight": report(9, 8, 50, 9000, 0.1), "stretched": report(4, 33, 20, 5300, 0.05), "silent": report(3, loss=1),
        "short": report(9, 7, 50, 9000), "brief": first, "window": changed(first, {
            "timing": "window", "verdict": "failed", "configuration.payload": "zeros", "configuration.loopback": True}),
        "timer": changed(first, {"adapter.latencyTimerMs": 2}), "bare": first | {"adapter": None}} | {
        name: changed(first, {"configuration." + name: value}) for name, value in settings.items()}


def batch():
    """Runs with every verdict, of three stations and of none."""
    def made(p99, verdict="passed", lost=0, tag=None, start=0, **changes):
        run = report(1, 1, 10, tags={"station": tag} if tag else {}, packetsLost=lost, verdict=verdict,
                     start=f"2026-11-22T10:00:{start:02}.000+01:00", reasons=["r" * 121] * (verdict != "passed"))
        run["latencyUs"] = run["latencyUs"] | {"p50": p99 and p99 / 2, "p99": p99, "maximum": p99 and 2 * p99}
        run["latencyHistogramUs"] = [[p99 / 4, p99 / 2, 5], [p99, 2 * p99, 2]] if p99 else []
        return run | changes
    return {name: made(**changes) for name, changes in stored("changes")["batch"].items()}


def explained():
    """Runs at and past the limits from which on there is something to say of them."""
    cases = stored("changes")["explained"] | {
        f"{prefix}{name}": {"packetsLost": 7, "lossBursts.longest": 4, f"lineErrors.{name}": count}
        for prefix, count in (("", 1), ("no-", None))
        for name in ("framing", "parity", "break", "overrun", "bufferOverrun")}
    return {name: changed(report(2, seconds=2), changes) for name, changes in cases.items()}


def singles():
    """Runs by themselves: with figures of every size, and with what is not known left out."""
    changes = stored("changes")["singles"]
    return {"figures": changed(report(1, seconds=8), changes["figures"]),
            "unknown": changed(report(3, seconds=2, loss=1), changes["unknown"])}
