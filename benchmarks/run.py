"""Takes every figure of the benchmark beside its reference, prints them and writes them as JSON.

Started by scripts/bench; docs/performance.md tells how each figure is taken.
"""

import argparse
import contextlib
import json
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import tempfile

LEFT_ALONE = {"PATH", "TMPDIR", "LANG"}  # of the caller's environment
BUSY_LOAD = 0.5


class Failure(Exception):
    """A figure could not be taken; the text says why."""


@contextlib.contextmanager
def placed(processor):
    """What is started meanwhile runs on this processor.

    Where the scheduler puts the two ends of a line makes more of a difference than the programs do.
    """
    before = os.sched_getaffinity(0)
    os.sched_setaffinity(0, {processor})
    try:
        yield
    finally:
        os.sched_setaffinity(0, before)


class Child:
    """A program of the build that prints JSON; its errors are shown only if it fails."""

    def __init__(self, command, environment=None):
        self.command = list(map(str, command))
        self.errors = tempfile.TemporaryFile()
        self.process = subprocess.Popen(self.command, env=environment, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=self.errors)
        self.cpu_seconds = 0.0

    def result(self, allowed=(0,)):
        output = self.process.stdout.read()
        _, status, usage = os.wait4(self.process.pid, 0)
        self.process.returncode = os.waitstatus_to_exitcode(status)
        self.process.stdout.close()
        self.cpu_seconds = usage.ru_utime + usage.ru_stime
        if self.process.returncode not in allowed:
            self.errors.seek(0)
            sys.stderr.write(self.errors.read().decode(errors="replace"))
            raise Failure(f"{' '.join(self.command)} ended with {self.process.returncode}")
        return json.loads(output)


class Figures:
    """The table: printed line by line as it grows."""

    ROW = "{:<48} {:>10} {:>10} {:>6}  {:<21} {}"

    def __init__(self):
        self.rows = []
        print(self.ROW.format("Figure", "Value", "Reference", "Ratio", "Mark", ""))

    def add(self, name, value, reference, mark, passed, note=""):
        ratio = value / reference if reference else None
        self.rows.append({"name": name, "value": value, "reference": reference, "ratio": ratio,
                          "mark": mark, "passed": passed, "note": note})
        shown = [f"{number:.4g}" if abs(number) < 1000 else f"{number:.0f}"
                 for number in (value, reference)]
        print(self.ROW.format(name, *shown, "-" if ratio is None else f"{ratio:.2f}", mark,
                              f"{'pass' if passed else 'MISS'}  {note}").rstrip(), flush=True)

    def at_most(self, name, value, reference, factor, note=""):
        self.add(name, value, reference, f"<= {factor:g} x reference",
                 value <= factor * reference, note)


class Bench:
    def __init__(self, build, private):
        self.build = build
        self.private = private
        self.figures = Figures()

    def own(self, name):
        return self.build / "benchmarks" / name

    def run(self, command, environment=None):
        return Child(command, environment).result()

    @contextlib.contextmanager
    def module(self, *options):
        """A simulated module; gives the path of its line."""
        command = [self.build / "simulator/program/packetbrask-module", *map(str, options)]
        with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              text=True) as process:
            try:
                yield process.stdout.readline().strip()
            finally:
                process.terminate()

    def runner(self, line, rate, seconds, *options):
        return Child([self.build / "runner" / "packetbrask-run", "--quiet", "--port", line,
                      "--rate", rate, "--min-size", 8, "--max-size", 8, "--duration", seconds,
                      "--json", "-", *options])

    def bare(self, line, rate, seconds):
        return Child([self.own("bare_pings"), line, rate, seconds])

    @contextlib.contextmanager
    def screen(self):
        """A virtual screen; gives the environment for programs on it, without accessibility."""
        reading, writing = os.pipe()
        with open(self.private / "screen.log", "wb") as log, subprocess.Popen(
                ["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x1024x24",
                 "-nolisten", "tcp", "-noreset"],
                pass_fds=[writing], stdin=subprocess.DEVNULL, stdout=log, stderr=log) as server:
            os.close(writing)
            try:
                with open(reading, encoding="ascii") as display:
                    number = display.readline().strip()
                if not number:
                    raise Failure("the virtual screen did not start")
                kept = {name: os.environ[name] for name in LEFT_ALONE if name in os.environ}
                yield {**kept, "DISPLAY": f":{number}", "QT_QPA_PLATFORM": "xcb",
                       "HOME": str(self.private), "XDG_RUNTIME_DIR": str(self.private),
                       "LC_ALL": "C.UTF-8", "DBUS_SESSION_BUS_ADDRESS": "disabled:",
                       "QT_LOGGING_RULES": "default.debug=false"}
            finally:
                server.terminate()

    def link(self):
        results = self.run([self.own("bench_link"), "--benchmark_format=json",
                            "--benchmark_repetitions=15", "--benchmark_min_time=0.02",
                            "--benchmark_enable_random_interleaving=true"])
        runs = [run for run in results["benchmarks"] if run["run_type"] == "iteration"]
        for run in runs:
            if run.get("error_occurred"):
                raise Failure(f"{run['name']}: {run['error_message']}")

        def least(name, figure="real_time"):
            return min(run[figure] for run in runs if run["name"].split("/")[:len(name)] == name)

        # The two loops cost the same, and 3 % is what the clock tells apart.
        self.figures.at_most("CRC over 126 bytes, ns", least(["crcOwn"]), least(["crcBoost"]), 1.03)
        for case, text in (("random", "random bytes"), ("every124", "every byte 124"),
                           ("nineFrames", "nine full frames")):
            self.figures.at_most(f"receive, {text}, us", least(["receive", case]) / 1000,
                                 least(["crcOverCandidates", case]) / 1000, 2)
        if least(["allocationsOfCopy"], "allocations") != 1:
            raise Failure("allocations are not counted")
        for call in ("Send", "Receive"):
            most = max(run["allocations"] for run in runs
                       if run["name"].startswith(f"allocationsOf{call}"))
            self.figures.add(f"allocations per {call.lower()}Packet", most, 0, "none", most == 0)

    def rates(self, seconds=10):
        # The slow rates hardly load the machine and share it; each timer ticks beside its run.
        for group in ((10, 100, 333), (1000,)):
            with contextlib.ExitStack() as modules:
                lines = [modules.enter_context(self.module()) for _ in group]
                pairs = [(rate, self.runner(line, rate, seconds, "--timing", "window"),
                          Child([self.own("bare_timer"), 1000 // rate, seconds]))
                         for rate, line in zip(group, lines)]
                for rate, runner, timer in pairs:
                    report = runner.result(allowed=(0, 1))
                    achieved = report["achievedPacketsPerSecond"]
                    ticks = timer.result()["ticksPerSecond"]
                    lost = report["packetsLost"]
                    self.figures.add(f"window's timing: pings/s of {rate} asked for", achieved, ticks,
                                     ">= 0.98 x, none lost",
                                     achieved >= 0.98 * ticks and lost == 0, f"{lost} lost")

    def cost(self, rate=1000, rounds=3):
        """CPU time of a long run less that of a short one, which leaves out what a start costs."""
        programs = {"runner": lambda line, seconds: self.runner(line, rate, seconds),
                    "bare": lambda line, seconds: self.bare(line, rate, seconds)}
        used = {name: [] for name in programs}
        for _ in range(rounds):
            for name, start in programs.items():
                seconds_used = {}
                for seconds in (1, 6):
                    with placed(0), self.module() as line:
                        with placed(os.cpu_count() - 1):
                            child = start(line, seconds)
                        child.result(allowed=(0, 1))
                        seconds_used[seconds] = child.cpu_seconds
                used[name].append((seconds_used[6] - seconds_used[1]) * 100000 / (5 * rate))
        self.figures.at_most("CPU seconds for 100,000 pings", min(used["runner"]),
                             min(used["bare"]), 1.3)

    def exact(self, seconds=10):
        """Runner and bare loop at the same time, each with a module of its own."""
        for rate in (600, 1000):
            with placed(0), self.module() as line, self.module() as bare_line:
                with placed(os.cpu_count() - 1):
                    runner = self.runner(line, rate, seconds)
                    bare = self.bare(bare_line, rate, seconds)
                report, bare = runner.result(allowed=(0, 1)), bare.result()
            achieved, lost = report["achievedPacketsPerSecond"], report["packetsLost"]
            self.figures.add(f"pings a second of {rate} asked for", achieved, bare["perSecond"],
                             "within 0.1 %, none lost",
                             abs(achieved - rate) <= 0.001 * rate and lost == 0, f"{lost} lost")
            latency = report["latencyUs"]
            self.figures.at_most(f"median round trip at {rate}/s, us", latency["p50"],
                                 bare["p50Us"], 1.3)
            self.figures.at_most(f"99th percentile at {rate}/s, us", latency["p99"],
                                 bare["p99Us"], 2)

    def capacity(self, rate=872, seconds=60):
        with self.module("--baud", 115200) as line:
            report = self.runner(line, rate, seconds, "--no-screen").result(allowed=(0, 1))
        lost = report["packetsLost"]
        self.figures.add(f"received at {rate} pings/s on 115200 baud, {seconds} s",
                         report["packetsReceived"], report["packetsSent"], "none lost", lost == 0,
                         f"{lost} lost of {rate * seconds} asked for")

    def memory(self, hours=1):
        result = self.run([self.own("bench_measure_memory"), str(hours)])
        self.figures.add(f"memory after {hours} h at 1000/s, MB", result["endMb"],
                         result["earlyMb"], "no 2 MB more",
                         result["endMb"] < result["earlyMb"] + 2, "reference: after 3 min")

    def latency(self, seconds=6, rate=50):
        with contextlib.ExitStack() as modules:
            runs = []
            for delay in (20, 50, 100):
                lines = [modules.enter_context(self.module("--delay", delay)) for _ in range(2)]
                runs.append((delay, self.runner(lines[0], rate, seconds),
                             self.bare(lines[1], rate, seconds)))
            for delay, runner, bare in runs:
                mean = runner.result(allowed=(0, 1))["latencyUs"]["mean"] / 1000
                expected = bare.result()["meanUs"] / 1000
                self.figures.add(f"mean round trip under a delay of {delay} ms, ms", mean, expected,
                                 "within 0.3 ms", abs(mean - expected) <= 0.3)

    def log(self):
        with self.screen() as environment:
            costs = self.run([self.own("bench_log_cost")], environment)
            for lines in (0, 5000, 10000):
                self.figures.at_most(f"log line at {lines:,} shown, us", *costs[f"usAt{lines}"],
                                     1.2, "trims excluded" if lines == 10000 else "")
            self.figures.at_most("log trim of 1,000 lines, ms", *costs["msOfTrim"], 1.2)

            pair = [Child([self.own("bench_log_memory"), kind], environment)
                    for kind in ("window", "bare")]
            window, bare = (child.result() for child in pair)
            name = "memory after 100,000 log lines, MB"
            self.figures.at_most(name, window["endMb"], bare["endMb"], 1.2)
            self.figures.at_most(name, window["endMb"], window["halfMb"], 1.1,
                                 "reference: after 50,000")

            flooded, bare = (self.run([self.own("bench_log_flood"), kind], environment)
                             for kind in ("window", "bare"))
            self.figures.add("longest event loop gap, 1000 lines/s, ms", flooded["longestGapMs"],
                             bare["longestGapMs"], "< 100 ms", flooded["longestGapMs"] < 100,
                             f"{flooded['linesPerSecond']:.0f} lines/s came")

    def start(self, times=9):
        programs = (self.build / "console" / "packetbrask", self.own("bare_window"))
        with self.screen() as environment:
            starts = [[self.run([self.own("window_start"), program], environment)
                       for program in programs] for _ in range(times + 1)][1:]  # warmed up by one

        def medians(key, divisor=1):
            return [statistics.median(pair[i][key] for pair in starts) / divisor for i in (0, 1)]

        self.figures.at_most("start to window shown, ms", *medians("shownMs"), 1.5)
        self.figures.at_most("resident memory of the window, MB", *medians("residentKb", 1024), 1.5)


def machine():
    def text(*command):
        return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout.strip()

    models = [line.partition(":")[2].strip()
              for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines()
              if line.startswith("model name")]
    return {"cpu": models[0] if models else platform.machine(), "cores": os.cpu_count(),
            "kernel": platform.release(),
            "debian": pathlib.Path("/etc/debian_version").read_text(encoding="utf-8").strip(),
            "qt": text("dpkg-query", "-W", "-f=${Version}", "libqt6core6"),
            "compiler": text("c++", "-dumpfullversion"), "loadBefore": round(os.getloadavg()[0], 2)}


def main():
    groups = ("link", "rates", "exact", "cost", "latency", "capacity", "memory", "log", "start")
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--json", type=pathlib.Path)
    parser.add_argument("--only", action="append", choices=groups)
    options = parser.parse_args()
    target = options.json or options.build / "bench.json"
    if not target.parent.is_dir():
        parser.error(f"there is no directory {target.parent}")
    described = machine()
    print(", ".join(f"{name} {value}" for name, value in described.items()))
    if described["loadBefore"] > BUSY_LOAD:
        print("The machine is busy; times and rates may miss their marks for that.")
    with tempfile.TemporaryDirectory(prefix="packetbrask-bench.") as private:
        bench = Bench(options.build.resolve(), pathlib.Path(private))
        for group in options.only or groups:
            getattr(bench, group)()
    rows = bench.figures.rows
    target.write_text(json.dumps({"machine": described, "figures": rows}, indent=2) + "\n",
                      encoding="utf-8")
    missed = [row["name"] for row in rows if not row["passed"]]
    print(f"{len(rows) - len(missed)} of {len(rows)} figures met their marks; see {target}")
    return 1 if missed else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (Failure, OSError, subprocess.CalledProcessError) as failure:
        sys.exit(print(f"scripts/bench: {failure}", file=sys.stderr) or 2)
