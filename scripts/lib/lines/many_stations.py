"""The commands of docs/many-lines.md for a rack of stations, tried on two of them.

A station is an ssh daemon on the loopback address, with a home and simulated modules of its own.
All of it is run by the caller, and kept in a temporary directory. Started by scripts/many-lines.
"""

import contextlib
import csv
import getpass
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

PROJECT = pathlib.Path(__file__).resolve().parents[3]
DOCUMENT = PROJECT / "docs/many-lines.md"
STATIONS = ("station-a", "station-b")
PORTS = [f"ttyUSB{number}" for number in range(6)]
SECONDS = 3  # of each run; the document's takes longer
WAIT_SECONDS = 60
RESUMPTIONS = 10
PRIVILEGE_SEPARATION = pathlib.Path("/run/sshd")
DAEMON_OPTIONS = """\
Port {port}
ListenAddress 127.0.0.1
HostKey {folder}/host
AuthorizedKeysFile {folder}/authorized
PidFile none
UsePAM no
StrictModes no
PasswordAuthentication no
KbdInteractiveAuthentication no
PermitRootLogin prohibit-password
ForceCommand {folder}/enter
"""
ENTER = """\
#!/bin/sh
export HOME={folder}/home PATH={folder}/bin:/usr/bin:/bin
cd && exec sh -c "$SSH_ORIGINAL_COMMAND"
"""
# Of an option given twice the last one counts.
RUNNER = """\
#!/bin/sh
export LD_PRELOAD=libumockdev-preload.so.0 UMOCKDEV_DIR={testbed}
exec {runner} "$@" --duration {seconds} --max-left-out 100
"""
DEVICE = """\
P: /devices/platform/packetbrask/tty/{name}
N: {name}
E: DEVNAME=/dev/{name}
E: SUBSYSTEM=tty
E: MAJOR=188
E: MINOR={minor}
A: dev=188:{minor}

"""


class Failure(Exception):
    """What is not as the document says."""


def expect(condition, text):
    if not condition:
        raise Failure(text)


def wait_for(what, condition):
    deadline = time.monotonic() + WAIT_SECONDS
    while not (result := condition()):
        expect(time.monotonic() < deadline, f"{what}: not within {WAIT_SECONDS} s")
        time.sleep(0.05)
    return result


def commands():
    """The document's commands by the names that it gives them in remarks."""
    blocks = re.findall(r"<!-- try: (\w+) -->\n\n((?:    .*\n)+)", DOCUMENT.read_text("utf-8"))
    return {name: re.sub("(?m)^    ", "", block) for name, block in blocks}


def write_program(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, "utf-8")
    path.chmod(0o755)


def make_key(path):
    subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-C", "packetbrask", "-f", path],
                   check=True)


def children(parent):
    """Numbers of the processes that this one has started."""
    path = pathlib.Path(f"/proc/{parent}/task/{parent}/children")
    return [int(number) for number in path.read_text("ascii").split()]


class Station:
    """A machine with modules on its ports, as far as ssh and the runner can tell."""

    def __init__(self, name, folder, build, stack):
        self.name, self.folder = name, folder
        self.daemon = None
        folder.joinpath("home").mkdir(parents=True)
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            self.port = free.getsockname()[1]
        make_key(folder / "host")
        write_program(folder / "enter", ENTER.format(folder=folder))
        testbed = self.start_testbed(stack)
        write_program(folder / "bin/packetbrask-run", RUNNER.format(
            testbed=testbed, runner=build / "runner/packetbrask-run", seconds=SECONDS))
        for name in PORTS:
            self.start_module(build / "simulator/program/packetbrask-module", testbed / "dev" / name, stack)
        stack.callback(self.stop)

    def start_testbed(self, stack):
        """The description of the devices goes when the program that stands for it ends."""
        devices = self.folder / "devices"
        devices.write_text("".join(DEVICE.format(name=name, minor=minor)
                                   for minor, name in enumerate(PORTS)), "utf-8")
        holder = subprocess.Popen(
            ["umockdev-run", "--device", devices, "--",
             "sh", "-c", 'echo "$UMOCKDEV_DIR"; exec cat'],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
            env=os.environ | {"TMPDIR": str(self.folder)})
        stack.callback(lambda: (holder.stdin.close(), holder.wait()))
        testbed = holder.stdout.readline().strip()
        expect(testbed, "umockdev-run did not start")
        return pathlib.Path(testbed)

    @staticmethod
    def start_module(program, node, stack):
        node.unlink()  # the test bed's own, which nobody answers
        module = subprocess.Popen([program, "--link", node], stdout=subprocess.PIPE, text=True)
        stack.callback(lambda: (module.terminate(), module.wait()))
        expect(module.stdout.readline(), f"the module of {node} did not start")

    def start(self):
        options = self.folder / "sshd_config"
        options.write_text(DAEMON_OPTIONS.format(port=self.port, folder=self.folder), "utf-8")
        with self.folder.joinpath("log").open("ab") as log:
            self.daemon = subprocess.Popen([shutil.which("sshd"), "-D", "-e", "-f", options],
                                           stdin=subprocess.DEVNULL, stderr=log)
        wait_for(f"{self.name} answers", self.answers)

    def answers(self):
        expect(self.daemon.poll() is None,
               f"the daemon of {self.name} ended: {self.folder.joinpath('log').read_text('utf-8')}")
        with contextlib.suppress(OSError), \
                socket.create_connection(("127.0.0.1", self.port), timeout=1) as connection:
            return connection.recv(4) == b"SSH-"
        return False

    def stop(self):
        """Ends the daemon with all of its connections."""
        if not self.daemon or self.daemon.poll() is not None:
            return
        self.daemon.send_signal(signal.SIGSTOP)  # so that it takes no further one
        for connection in children(self.daemon.pid):
            with contextlib.suppress(ProcessLookupError):
                os.kill(connection, signal.SIGTERM)
        self.daemon.terminate()
        self.daemon.send_signal(signal.SIGCONT)
        self.daemon.wait()


class Middle:
    """The machine that gives the commands."""

    def __init__(self, folder, build, stations):
        self.set = folder / "set"
        self.set.mkdir(parents=True)
        self.build = build
        self.commands = commands()
        make_key(folder / "key")
        hosts = []
        for station in stations:
            shutil.copy(folder / "key.pub", station.folder / "authorized")
            hosts.append(f"Host {station.name}\n    HostName 127.0.0.1\n    Port {station.port}\n"
                         f"    HostKeyAlias {station.name}\n")
            with folder.joinpath("known_hosts").open("a", encoding="utf-8") as known:
                known.write(f"{station.name} ")
                known.write(station.folder.joinpath("host.pub").read_text("utf-8"))
        folder.joinpath("ssh_config").write_text(
            "".join(hosts) + f"Host *\n    User {getpass.getuser()}\n"
            f"    IdentityFile {folder}/key\n    UserKnownHostsFile {folder}/known_hosts\n"
            "    IdentitiesOnly yes\n    StrictHostKeyChecking yes\n    BatchMode yes\n", "utf-8")
        write_program(folder / "bin/ssh", "#!/bin/sh\nexec "
                      f"{shlex.quote(shutil.which('ssh'))} -F {folder}/ssh_config \"$@\"\n")
        # Whatever may be set up for the caller's own use of parallel is left out.
        self.environment = {
            name: value for name, value in os.environ.items() if not name.startswith("PARALLEL")
        } | {"HOME": str(folder), "PATH": f"{folder}/bin:{build}/report:{os.environ['PATH']}"}
        folder.joinpath(".parallel").mkdir()
        folder.joinpath(".parallel/will-cite").touch()

    @contextlib.contextmanager
    def started(self, *names):
        """The document's commands of these names, one after the other in one shell."""
        text = "".join(self.commands[name] for name in names)
        process = subprocess.Popen(["bash", "-c", text], cwd=self.set, env=self.environment,
                                   stdin=subprocess.DEVNULL, start_new_session=True)
        try:
            yield process
        finally:
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()

    def run(self, *names):
        """Their exit status."""
        with self.started(*names) as process:
            return process.wait(timeout=10 * WAIT_SECONDS)

    def jobs(self):
        """(station, exit status) of each job that has ended, in that order."""
        log = self.set / "jobs"
        if not log.exists():
            return []
        with log.open(encoding="utf-8", newline="") as rows:
            return [(row["Host"], int(row["Exitval"]))
                    for row in csv.DictReader(rows, delimiter="\t", quoting=csv.QUOTE_NONE)
                    if row["Exitval"]]

    def reports(self):
        """Those that are whole, by the names of their folders."""
        texts = {path.parent.name: path.read_text("utf-8")
                 for path in self.set.glob("reports/*/stdout")}
        try:
            return {name: json.loads(text) for name, text in texts.items() if text}
        except ValueError as error:
            raise Failure(f"a report is not whole: {error}") from None


def break_set(middle, lame):
    """Runs the set, and ends the lame station's daemon in the middle of it."""
    with middle.started("set", "start") as process:
        wait_for("the first line is tested", lambda: process.poll() is not None
                 or any(host == lame.name and not status for host, status in middle.jobs()))
        expect(process.poll() is None, "the set ended before its middle")
        lame.stop()
        print(f"The daemon of {lame.name} is ended after {len(middle.jobs())} jobs")
        status = process.wait(timeout=10 * WAIT_SECONDS)
    jobs = middle.jobs()
    failed = [host for host, code in jobs if code]
    expect(failed and set(failed) == {lame.name}, f"not only jobs of {lame.name} failed: {jobs}")
    expect(status == len(failed), f"the set ended with {status}, {len(failed)} jobs failed")
    expect(len(jobs) == len(STATIONS) * len(PORTS), f"the set did not go on: {jobs}")
    done = len(middle.reports())
    print(f"The set ended with {status}: {done} lines tested, {len(failed)} not")


def complete_set(middle):
    before = [job for job in middle.jobs() if not job[1]]
    for number in range(1, RESUMPTIONS + 1):
        status = middle.run("set", "resume")
        print(f"Resumed {number} time(s): exit status {status}")
        if not status:
            break
    expect(not status, "the set was never completed")
    passed = [job for job in middle.jobs() if not job[1]]
    expect(len(passed) == len(STATIONS) * len(PORTS), f"{len(passed)} lines were tested")
    expect(passed[:len(before)] == before, "the job log has lost jobs")


def check_reports(middle):
    """Every line has exactly one report, of its own station and port, with nothing lost."""
    reports = middle.reports()
    wanted = {f"{station}-{port}": {"station": station, "port": f"/dev/{port}"}
              for station in STATIONS for port in PORTS}
    expect({name: report["tags"] for name, report in reports.items()} == wanted,
           f"the reports are {sorted(reports)}")
    for name, report in reports.items():
        expect(report["packetsSent"] == report["packetsReceived"] > 0 and not report["packetsLost"],
               f"{name}: {report['packetsLost']} of {report['packetsSent']} lost")
    expect(not middle.run("page") and middle.set.joinpath("rack.html").stat().st_size,
           "there is no page")
    print(f"{len(reports)} lines, a report of each, none lost, and a page over them")


@contextlib.contextmanager
def privilege_separation():
    """The directory that a daemon of root's wants, which the system's own makes when it starts."""
    made = False
    if os.geteuid() == 0 and not PRIVILEGE_SEPARATION.exists():
        PRIVILEGE_SEPARATION.mkdir(mode=0o755)
        made = True
    try:
        yield
    finally:
        if made:
            PRIVILEGE_SEPARATION.rmdir()


def try_document(build, folder, stack):
    stations = [Station(name, folder / name, build, stack) for name in STATIONS]
    middle = Middle(folder / "middle", build, stations)
    for station in stations:
        station.start()
    for name in ("stations", "lines"):
        expect(not middle.run(name), f"the commands for the {name} fail")
    lines = middle.set.joinpath("lines").read_text("utf-8").split()
    expect(lines == [f"{station}/dev/{port}@{station}" for station in STATIONS for port in PORTS],
           f"the lines are {lines}")
    break_set(middle, stations[1])
    stations[1].start()
    complete_set(middle)
    check_reports(middle)


def main():
    build = pathlib.Path(sys.argv[1])
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda number, _: sys.exit(128 + number))
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    try:
        with contextlib.ExitStack() as stack:
            folder = stack.enter_context(tempfile.TemporaryDirectory(prefix="packetbrask-rack."))
            stack.enter_context(privilege_separation())
            try_document(build, pathlib.Path(folder), stack)
    except Failure as failure:
        print(f"FAILED: {failure}", file=sys.stderr)
        return 1
    except (OSError, subprocess.SubprocessError) as error:
        print(f"scripts/many-lines: {error}", file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
