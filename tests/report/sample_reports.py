"""Reports as packetbrask-run writes them, of made-up runs."""

import copy
import math
import random

HOSTILE = "</script /><img src=x onerror=alert(1)>\u2028\"'&\u202e\x1b[31m{{data}}"


def quantile(values, share):
    return values[min(len(values) - 1, int(share * len(values)))] if values else None


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
    made = {
        "program": "packetbrask-run", "version": "1.0", "format": 2,
        "configuration": {
            "port": "/dev/ttyUSB0", "baudRate": 115200, "packetsPerSecond": rate, "minDataSizeBytes": 1,
            "maxDataSizeBytes": 124, "timeoutMs": 500, "durationSeconds": seconds, "moduleScreen": True,
            "maxLossPercent": 0.1, "maxLatencyMs": 200, "maxP99Ms": None, "eventFile": None, "pingFile": None},
        "tags": tags or {}, "host": {"name": "bench-3", "kernel": "Linux 6.1.0", "machine": "x86_64"},
        "adapter": {"driver": "ftdi_sio", "vendorId": "0403", "productId": "6001", "serialNumber": "A50285BI",
                    "product": "USB-Serial", "latencyTimerMs": 1},
        "timing": "exact", "start": f"2026-11-22T10:{seed % 60:02}:00.000+01:00",
        "end": f"2026-11-22T11:{seed % 60:02}:00.000+01:00", "sendingSeconds": seconds,
        "requestedPacketsPerSecond": rate, "achievedPacketsPerSecond": sent / seconds, "packetsSent": sent,
        "packetsReceived": len(every), "packetsLost": lost, "sendFailures": 0,
        "successRatePercent": 100 - 100 * lost / sent,
        "lossCauses": {"noEchoInTime": lost, "noEchoAtEnd": 0, "changedEcho": 0},
        "lossBursts": {"count": min(lost, 7), "longest": min(lost, 3)}, "outOfOrderEchoes": 0,
        "unexpected": {"lateEchoes": 0, "repeatedEchoes": 0, "unknownEchoes": 0, "shortEchoes": 0, "reports": 0,
                       "otherPackets": 0, "errorReplies": []},
        "latencyMs": {"average": mean and mean // 1000, "minimum": us["minimum"] and us["minimum"] // 1000,
                      "maximum": us["maximum"] and us["maximum"] // 1000},
        "latencyUs": us, "sendLagUs": {"p99": 180, "maximum": 900}, "seconds": rows,
        "latencyHistogramUs": [[2 ** (key / 32), 2 ** ((key + 1) / 32), bins[key]] for key in sorted(bins)],
        "lineErrors": {"framing": 0, "parity": 0, "overrun": 0, "break": 0, "bufferOverrun": 0},
        "estimatedTrafficToModule": traffic, "estimatedTrafficFromModule": traffic,
        "verdict": "passed", "reasons": [], "exitStatus": 0}
    if 100 * lost > 0.1 * sent:
        made |= {"verdict": "failed", "exitStatus": 1, "reasons":
                 [f"{lost} of {sent} packets were lost ({100 * lost / sent:.4g} %), allowed are 0.1 %"]}
    return made | changes


def samples():
    lossy = report(2, loss=0.02, middle_us=6100, tags={"cable": "B"}, sendLagUs={"p99": 31000, "maximum": 80000})
    return {"passed": report(1, tags={"cable": "A"}), "silent": report(3, loss=1, lineErrors=None),
            "lossy": changed(lossy, {"lineErrors.framing": 41, "unexpected.errorReplies": [
                {"code": 3, "text": HOSTILE, "count": 4}]}),
            "hour": report(5, seconds=3600, rate=20, loss=0.0005),
            "hostile": report(6, tags={HOSTILE: HOSTILE, "cable": HOSTILE}, adapter=None)}
