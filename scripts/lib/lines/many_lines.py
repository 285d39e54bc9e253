"""Many simulated modules with a runner each, all at once. Started by scripts/many-lines."""

import argparse
import contextlib
import dataclasses
import json
import math
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

FEWER = (1, 8)
MOST_SHOWN = 10  # lines with losses
PROJECT = pathlib.Path(__file__).resolve().parents[3]
HEAD = ("Lines", "Pings sent, of those asked for", "Lost", "Runner, CPU s a line",
        "Module, CPU s a line", "Both, % of a processor a line", "Machine busy, %",
        "of it other programs, %", "p99 of the worst line, ms", "against 1 line",
        "p99 sent late, worst line, ms")


class NotTried(Exception):
    """What kept the lines from being tested at all."""


@dataclasses.dataclass
class Line:
    """One module and its runner, after the run."""

    report: dict
    summary: dict
    runner_cpu: float  # seconds, user and system
    module_cpu: float

    def lost(self):
        """Pings that were sent, or should have been and failed, without an echo of their own."""
        return (self.report["packetsSent"] - self.report["packetsReceived"]
                + self.report["sendFailures"])

    def faults(self):
        """What the runner and the module say differently, and what was lost."""
        sent, received = self.report["packetsSent"], self.report["packetsReceived"]
        if self.lost() or not sent:
            yield f"{sent} sent, {received} received, {self.report['sendFailures']} not taken"
        elif (self.summary["pingsReceived"], self.summary["echoesIntact"]) != (sent, received):
            yield (f"the runner has {sent} sent and {received} received, the module "
                   f"{self.summary['pingsReceived']} and {self.summary['echoesIntact']}")


@dataclasses.dataclass
class Round:
    """As many lines at once as `lines` has."""

    lines: list
    busy: float  # share of all processors
    others: float  # share of all processors that went to other programs

    def worst_ms(self, figure):
        figures = [line.report[figure]["p99"] for line in self.lines]
        return math.inf if None in figures else max(figures) / 1000  # no echo at all

    def mean_cpu(self, what):
        return sum(getattr(line, what) for line in self.lines) / len(self.lines)


def cpu_seconds(process):
    """Waits for the child and returns its exit status and what it took."""
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return process.returncode, usage.ru_utime + usage.ru_stime


def busy_seconds():
    """Of all processors, since the system's start; what another guest took of them included."""
    user, nice, system, _, _, irq, softirq, steal = (
        int(ticks) for ticks in pathlib.Path("/proc/stat").read_text("ascii").split()[1:9])
    return (user + nice + system + irq + softirq + steal) / os.sysconf("SC_CLK_TCK")


def end(processes):
    for process in processes:
        if process.returncode is None:
            process.kill()
            process.wait()


def start_modules(program, folder, count, started):
    """The paths of the lines."""
    for number in range(count):
        started.append(subprocess.Popen(
            [program, "--seed", str(number), "--summary", folder / f"module-{number + 1:03}.json"],
            stdout=subprocess.PIPE, text=True))
    paths = [module.stdout.readline().strip() for module in started]
    if "" in paths:
        raise NotTried(f"module {paths.index('') + 1} of {count} did not start")
    return paths


def start_runners(program, folder, paths, options, started):
    with complaints(folder).open("wb") as log:
        for number, path in enumerate(paths, start=1):
            started.append(subprocess.Popen(
                [program, "--port", path, "--quiet", "--rate", str(options.rate),
                 "--duration", str(options.seconds), "--tag", f"line={number:03}",
                 "--tag", f"lines={len(paths)}", "--json", folder / f"line-{number:03}.json"],
                stderr=log))


def complaints(folder):
    """What its runners say."""
    return folder / "runners.log"


def read(path):
    try:
        return json.loads(path.read_bytes())
    except FileNotFoundError:
        raise NotTried(f"there is no {path}") from None


def run_round(build, folder, count, options):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    modules, runners = [], []
    with contextlib.ExitStack() as stack:
        stack.callback(end, modules)
        stack.callback(end, runners)
        paths = start_modules(build / "simulator/program/packetbrask-module", folder, count, modules)
        time_before, busy_before = time.monotonic(), busy_seconds()
        start_runners(build / "runner/packetbrask-run", folder, paths, options, runners)
        runner_ends = [cpu_seconds(runner) for runner in runners]
        passed = busy_seconds() - busy_before
        elapsed = (time.monotonic() - time_before) * os.cpu_count()
        for module in modules:
            os.kill(module.pid, signal.SIGTERM)  # terminate() would wait for one that has ended
        module_ends = [cpu_seconds(module) for module in modules]
    for number, (status, _) in enumerate(runner_ends, start=1):
        if status not in (0, 1, 4, 6):  # else there is no report
            raise NotTried(f"the runner of line {number} of {count} ended with {status}, see "
                           f"{complaints(folder)}")
    lines = [Line(read(folder / f"line-{number:03}.json"),
                  read(folder / f"module-{number:03}.json"), runner_cpu, module_cpu)
             for number, ((_, runner_cpu), (_, module_cpu))
             in enumerate(zip(runner_ends, module_ends), start=1)]
    ours = sum(line.runner_cpu + line.module_cpu for line in lines)
    return Round(lines, passed / elapsed, max(0, passed - ours) / elapsed)


def row(result, alone, options):
    seconds = options.seconds
    runner, module = result.mean_cpu("runner_cpu"), result.mean_cpu("module_cpu")
    worst = result.worst_ms("latencyUs")
    sent = sum(line.report["packetsSent"] for line in result.lines)
    return (len(result.lines), f"{sent} of {len(result.lines) * options.rate * seconds}",
            sum(line.lost() for line in result.lines), f"{runner:.2f}", f"{module:.2f}",
            f"{100 * (runner + module) / seconds:.2f}", f"{100 * result.busy:.0f}",
            f"{100 * result.others:.0f}", f"{worst:.2f}",
            f"{worst / alone.worst_ms('latencyUs'):.1f} x", f"{result.worst_ms('sendLagUs'):.2f}")


def table(results, options):
    rows = [HEAD, ["--:"] * len(HEAD)] + [row(each, results[0], options) for each in results]
    return "\n".join("| " + " | ".join(str(cell) for cell in cells) + " |" for cells in rows)


def machine():
    facts = pathlib.Path("/proc/cpuinfo").read_text("utf-8").splitlines()
    name = next((fact.split(":", 1)[1].strip() for fact in facts if fact.startswith("model name")),
                os.uname().machine)
    return (f"{name}, {os.cpu_count()} processors, kernel {os.uname().release}, "
            f"load before {os.getloadavg()[0]:.2f}")


def write_page(build, folder):
    """One page over the reports of the folder, which stands beside it."""
    page = folder.with_suffix(".html")
    subprocess.run([build / "report/packetbrask-report", *sorted(folder.glob("line-*.json")),
                    "--by", "line", "--html", page], check=True)
    return page


def show_faults(result):
    """Whether there was any."""
    faults = [(number, fault) for number, line in enumerate(result.lines, start=1)
              for fault in line.faults()]
    for number, fault in faults[:MOST_SHOWN]:
        print(f"LOST line {number} of {len(result.lines)}: {fault}")
    if len(faults) > MOST_SHOWN:
        print(f"and {len(faults) - MOST_SHOWN} more")
    return bool(faults)


def measure(build, options):
    counts = sorted({count for count in FEWER if count < options.lines} | {options.lines})
    print(machine())
    results, lost = [], False
    for count in counts:
        rounds = []
        for number in range(1, options.rounds + 1):
            folder = options.reports / f"{count}-lines-{number}"
            print(f"{count} at once, round {number} of {options.rounds}", file=sys.stderr)
            rounds.append((run_round(build, folder, count, options), folder))
            lost |= show_faults(rounds[-1][0])
        quietest, folder = min(rounds, key=lambda each: each[0].worst_ms("latencyUs"))
        results.append(quietest)
    print(f"\n{options.rate} pings/s a line, {options.seconds} s\n\n{table(results, options)}"
          f"\n\nPage: {write_page(build, folder)}")
    return 1 if lost else 0


def count_from(least, most):
    def read_count(text):
        if not least <= int(text) <= most:
            raise ValueError
        return int(text)
    read_count.__name__ = f"number from {least} to {most}"
    return read_count


def main():
    parser = argparse.ArgumentParser(prog="scripts/many-lines")
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--lines", type=count_from(1, 999), default=32)
    parser.add_argument("--seconds", type=count_from(1, 3600), default=20)
    parser.add_argument("--rate", type=count_from(1, 1000), default=100)
    parser.add_argument("--rounds", type=count_from(1, 100), default=1)
    parser.add_argument("--reports", type=pathlib.Path, default=PROJECT / "build/many-lines")
    options = parser.parse_args()
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda number, _: sys.exit(128 + number))
    try:
        return measure(options.build, options)
    except (NotTried, OSError, subprocess.CalledProcessError) as error:
        print(f"scripts/many-lines: {error}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
