"""The programs on real serial drivers: cases for the machine of machine.py.

They look at counts, exit statuses, files and settings of the line; the emulated machine's sense of
time says nothing about round trips.
"""

import contextlib
import itertools
import json
import signal
import sys
import time

from machine import LIBRARY, Failure, Machine, wait_for

ADAPTER, SERIAL, STALLING = "/dev/ttyUSB0", "/dev/ttyS1", "/dev/ttyUSB1"
RATES = (1200, 1800, 2400, 4800, 9600, 19200, 38400, 115200)
RAW = set("cs8 cstopb cread clocal -parenb -crtscts -hupcl ignpar -istrip -icrnl -inlcr -igncr "
          "-ixon -ixoff -opost -isig -icanon noflsh".split())
SHORT_RUN = ("--rate", 20, "--duration", 1, "--timeout", 1000)
# Well above what closing may take on a busy machine, well below the driver's 30 s.
PROMPT_SECONDS = 20
# TIOCGICOUNT; the tenth number of struct serial_icounter_struct.
COUNT_BREAKS = """
import array, fcntl, os, sys
counts = array.array("i", [0] * 20)
fcntl.ioctl(os.open(sys.argv[1], os.O_RDWR | os.O_NONBLOCK | os.O_NOCTTY), 0x545D, counts)
print(counts[9])
"""
run_numbers = itertools.count()


def expect(condition, text):
    if not condition:
        raise Failure(text)


class Run:
    """A test run in the guest, with its report and its event file."""

    def __init__(self, machine, command, events):
        self.machine = machine
        self.command = command
        self.events = events

    def wait_for_echoes(self):
        """Returns when pings have come back."""

        def came_back():
            expect(not self.command.ended(), f"ended too early: {self.command.answer}")
            return self.machine.run("grep", "-q", ",Packet 3: ", self.events)[0] == 0

        wait_for("pings come back", came_back, 20)

    def end(self, status, seconds=60, all_back=True):
        """The report, when the run has ended with this status and its figures agree.

        All pings have to be back after a run that passed, unless told otherwise.
        """
        actual, out, err = self.command.wait(seconds)
        expect(actual == status, f"exit status {actual} instead of {status}: {err}")
        report = json.loads(out)
        sent, received, lost = (report[f"packets{what}"] for what in ("Sent", "Received", "Lost"))
        expect(sent > 0 and sent == received + lost, f"sent {sent}, {received} + {lost}: {err}")
        expect(status or not all_back or not lost, f"{lost} of {sent} lost: {err}")
        last = self.machine.check("tail", "-n", 1, self.events)
        expect("Test stopped. Sent:" in last, f"the event file ends with '{last}'")
        return report


@contextlib.contextmanager
def run_on(machine, port, *options, leader=()):
    events = f"/root/events-{next(run_numbers)}.csv"
    # The emulated machine is slow, which would disturb runs.
    with machine.started(*leader, "packetbrask-run", "--port", port, "--json", "-",
                         "--max-left-out", 100, "--events", events, *options) as command:
        yield Run(machine, command, events)


def passes(machine, port):
    with run_on(machine, port, *SHORT_RUN) as run:
        run.end(0)


def ports_with_models(machine):
    ports = machine.check("packetbrask-run", "--list").splitlines()
    for line in (f"{ADAPTER}\tttyUSB0 = QEMU_USB_SERIAL", f"{SERIAL}\tttyS1"):
        expect(line in ports, f"no '{line}' in {ports}")


def baud_rates(machine):
    for rate in RATES:
        with run_on(machine, ADAPTER, *SHORT_RUN, "--baud", rate) as adapter, \
                run_on(machine, SERIAL, *SHORT_RUN, "--baud", rate) as serial:
            for run in adapter, serial:
                run.wait_for_echoes()
            for port, line in (ADAPTER, "adapter"), (SERIAL, "serial"):
                said = machine.check("stty", "-a", "-F", port)
                expect(f"speed {rate} baud;" in said and RAW <= set(said.replace(";", "").split()),
                       f"{port} for {rate} baud: {said}")
                said = machine.line_settings(line)
                expect(f"speed {rate} baud;" in said and " cstopb " in said,
                       f"the driver of {port} made of {rate} baud: {said}")
            for run, unknown in (adapter, {"bufferOverrun"}), (serial, set()):
                counts = run.end(0)["lineErrors"] or {}
                expect(counts and {name for name in counts if counts[name] is None} == unknown,
                       f"line errors: {counts}")


def unplugged_in_a_run(machine):
    with run_on(machine, ADAPTER, "--rate", 20) as run:
        run.wait_for_echoes()
        machine.unplug()
        try:
            reasons = run.end(4)["reasons"]
        finally:
            machine.plug()
    expect("the line was lost during the run" in reasons, f"reasons: {reasons}")
    ports_with_models(machine)
    passes(machine, ADAPTER)


def no_carrier(machine):
    lines = machine.check("grep", "^1:", "/proc/tty/driver/serial")
    expect("CD" not in lines, f"there is a carrier: {lines}")
    machine.check("stty", "-F", SERIAL, "-clocal")
    try:
        with run_on(machine, SERIAL, "--rate", 20) as run:
            run.wait_for_echoes()
            run.command.signal(signal.SIGTERM)
            run.end(0)
    finally:
        machine.check("stty", "-F", SERIAL, "clocal")


def stalled_adapter(machine):
    with machine.started(LIBRARY / "stalling_adapter.py", 200):
        machine.wait_until(f"test -e {STALLING} && udevadm settle")
        with run_on(machine, STALLING, "--rate", 100, "--timeout", 200) as run:
            started = time.monotonic()
            run.end(4, 90)
            took = time.monotonic() - started
    machine.wait_until(f"test ! -e {STALLING}")
    expect(took < PROMPT_SECONDS, f"the run took {took:.0f} s to end")


def breaks(machine):
    def counted():
        return int(machine.check("/usr/bin/python3", "-c", COUNT_BREAKS, SERIAL))

    with run_on(machine, SERIAL, "--rate", 20, "--max-loss", 100) as run:
        run.wait_for_echoes()
        for _ in range(3):
            before = counted()
            machine.qmp("chardev-send-break", id="serial")
            wait_for("the break is counted", lambda: counted() == before + 1)
        run.command.signal(signal.SIGTERM)
        run.end(0, all_back=False)  # a break may have hit an echo


def no_rights(machine):
    status, _, err = machine.run("setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups",
                                 "packetbrask-run", "--port", ADAPTER, "--duration", 1)
    expect(status == 3 and "group dialout" in err, f"exit status {status}: {err}")


def session_leader(machine):
    with run_on(machine, ADAPTER, "--rate", 20, "--duration", 2, leader=("setsid", "-w")) as run:
        run.end(0)


def unplugged_under_window(machine):
    with machine.started("env", "PACKETBRASK_REAL_PORTS=yes", LIBRARY.parent / "with-desktop.sh",
                         "/usr/bin/python3", LIBRARY / "machine_window.py") as window:
        try:
            for move in (machine.unplug, machine.plug) * 2:
                wait_for("the window is ready", lambda: window.ended() or machine.run(
                    "rm", "wanted")[0] == 0, 120)
                if window.ended():
                    break
                move()
        finally:
            machine.plug()
        status, out, err = window.wait(120)
    expect(status == 0, out + err)


CASES = {
    "ports with their models": ports_with_models,
    "baud rates and settings": baud_rates,
    "unplugged in a run": unplugged_in_a_run,
    "port without carrier": no_carrier,
    "adapter that takes no more": stalled_adapter,
    "breaks": breaks,
    "user without rights": no_rights,
    "leader of a session": session_leader,
    "unplugged under the window": unplugged_under_window,
}


def main():
    build, programs, *wanted = sys.argv[1:]
    cases = {name: case for name, case in CASES.items()
             if not wanted or any(part in name for part in wanted)}
    if not cases:
        print(f"scripts/machine-test: no such case; there are {', '.join(CASES)}", file=sys.stderr)
        return 2
    failed = 0
    try:
        with Machine(build, programs) as machine:
            for name, case in cases.items():
                try:
                    case(machine)
                    print(f"passed  {name}", flush=True)
                except Failure as failure:
                    failed += 1
                    print(f"FAILED  {name}: {failure}", flush=True)
    except (Failure, OSError) as failure:
        print(f"The machine does not work: {failure}", file=sys.stderr)
        return 2
    print(f"{len(cases) - failed} of {len(cases)} cases passed")
    return 1 if failed else 0


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
