"""An emulated machine that runs the programs on the drivers of its own kernel.

Its files are the host's, read-only under a layer of its own. Behind its USB adapter (ttyUSB0) and
its second 16550 (ttyS1, whose modem lines are all inactive) are simulated modules on the host.
"""

import contextlib
import itertools
import json
import pathlib
import queue
import signal
import socket
import subprocess
import tempfile
import threading
import time

LIBRARY = pathlib.Path(__file__).resolve().parent
POLL_SECONDS = 0.1
BOOT_SECONDS = 180
PROGRAMS = ("runner/packetbrask-run", "console/packetbrask")


class Failure(Exception):
    """Something was not as expected; the text says what."""


def wait_for(what, condition, seconds=30):
    """Polls until `condition()` is true and returns its value."""
    deadline = time.monotonic() + seconds
    while not (value := condition()):
        if time.monotonic() > deadline:
            raise Failure(f"waited {seconds:g} s in vain: {what}")
        time.sleep(POLL_SECONDS)
    return value


class Command:
    """A command under way in the guest."""

    def __init__(self, machine, number, words):
        self.machine = machine
        self.number = number
        self.words = words
        self.answers = queue.Queue()
        self.answer = None

    def ended(self):
        if self.answer is None:
            with contextlib.suppress(queue.Empty):
                self.answer = self.answers.get_nowait()
        return self.answer is not None

    def wait(self, seconds=60):
        """Exit status, standard output and standard error."""
        wait_for(f"'{' '.join(self.words)}' ends", self.ended, seconds)
        return self.answer["status"], self.answer["out"], self.answer["err"]

    def signal(self, number):
        self.machine.ask(id=self.number, signal=number)


class Machine:
    def __init__(self, build, programs):
        self.build = pathlib.Path(build).resolve()
        self.programs = pathlib.Path(programs).resolve()
        self.parts = contextlib.ExitStack()
        self.asking = threading.Lock()
        self.numbers = itertools.count()
        self.plugged = True
        self.commands = {"up": Command(self, "up", ["boot"])}

    def __enter__(self):
        with contextlib.ExitStack() as parts:
            self.directory = pathlib.Path(parts.enter_context(
                tempfile.TemporaryDirectory(prefix="packetbrask-machine.")))
            for line in ("adapter", "serial"):
                parts.enter_context(self.child(
                    self.programs / "simulator/program/packetbrask-module", "--link", self.line(line)))
                wait_for(f"the module of the {line}", self.line(line).exists)
            emulator = parts.enter_context(self.child(*self.emulator()))
            self.control = self.connect("control", emulator)
            self.control.readline()  # the greeting
            self.qmp("qmp_capabilities")
            self.agent = self.connect("agent", emulator)
            threading.Thread(target=self.listen, daemon=True).start()
            try:
                self.commands["up"].wait(BOOT_SECONDS)
            except Failure as failure:
                console = (self.directory / "console").read_text(errors="replace")
                raise Failure(f"{failure}\n{console}") from failure
            for program in PROGRAMS:
                self.check("cp", self.programs / program, "/usr/local/bin")
            self.parts = parts.pop_all()
        return self

    def __exit__(self, *_):
        self.parts.close()

    def line(self, name):
        """The host's side of the adapter's or the serial port's line."""
        return self.directory / f"{name}-line"

    def line_settings(self, name):
        """What the driver has told the adapter or the serial port to do, in the words of stty."""
        return subprocess.run(["stty", "-a", "-F", self.line(name)], check=True, timeout=10,
                              capture_output=True, text=True).stdout

    @contextlib.contextmanager
    def child(self, *words):
        with (self.directory / "messages").open("ab") as messages:
            process = subprocess.Popen([*map(str, words)], cwd=self.directory, stderr=messages,
                                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        try:
            yield process
        finally:
            process.terminate()
            process.wait()

    def emulator(self):
        kernel = next((self.build / "kernel/boot").glob("vmlinuz-*"))
        modules = self.build / "kernel/lib/modules" / kernel.name.removeprefix("vmlinuz-")
        return (
            "qemu-system-x86_64", "-accel", "tcg", "-machine", "pc", "-cpu", "max", "-m", "1024",
            "-nodefaults", "-no-user-config", "-display", "none", "-no-reboot",
            "-kernel", kernel, "-initrd", self.build / "start.cpio", "-append",
            f'console=ttyS0 quiet panic=-1 GUEST="{LIBRARY}/machine_guest.py" MODULES="{modules}"',
            "-chardev", "file,id=console,path=console", "-device", "isa-serial,chardev=console",
            # Lines without modem signals: QEMU sees none on a pseudo-terminal.
            "-chardev", "serial,id=serial,path=serial-line",
            "-device", "isa-serial,chardev=serial",
            "-chardev", "serial,id=adapter,path=adapter-line", "-device", "piix3-usb-uhci",
            "-device", "usb-serial,id=adapter,chardev=adapter",
            "-fsdev", "local,id=host,path=/,security_model=none,readonly=on,multidevs=remap",
            "-device", "virtio-9p-pci,fsdev=host,mount_tag=host",
            "-chardev", "socket,id=agent,path=agent,server=on,wait=off",
            "-device", "virtio-serial-pci", "-device", "virtserialport,chardev=agent,name=agent",
            "-qmp", "unix:control,server=on,wait=off")

    def connect(self, name, emulator):
        line = socket.socket(socket.AF_UNIX)

        def connected():
            if emulator.poll() is not None:
                raise Failure((self.directory / "messages").read_text(errors="replace"))
            return line.connect_ex(str(self.directory / name)) == 0

        wait_for(f"the emulator's {name} socket", connected)
        return line.makefile("rwb", 0)

    def qmp(self, order, **arguments):
        """Has the emulator do something to the machine."""
        self.control.write(json.dumps({"execute": order, "arguments": arguments}).encode() + b"\n")
        for line in self.control:
            answer = json.loads(line)
            if "error" in answer:
                raise Failure(f"{order}: {answer['error']['desc']}")
            if "return" in answer:
                return
        raise Failure("the emulator has gone")

    def listen(self):
        for line in self.agent:
            answer = json.loads(line)
            self.commands[answer["id"]].answers.put(answer)

    def ask(self, **request):
        with self.asking:
            self.agent.write(json.dumps(request).encode() + b"\n")

    @contextlib.contextmanager
    def started(self, *words):
        """A command in the guest; killed when the context is left before it has ended."""
        command = Command(self, next(self.numbers), [*map(str, words)])
        self.commands[command.number] = command
        self.ask(id=command.number, command=command.words)
        try:
            yield command
        finally:
            if not command.ended():
                command.signal(signal.SIGKILL)

    def run(self, *words, seconds=60):
        """Exit status, standard output and standard error of a command in the guest."""
        with self.started(*words) as command:
            return command.wait(seconds)

    def check(self, *words, seconds=60):
        """Standard output of a command that has to succeed."""
        status, out, err = self.run(*words, seconds=seconds)
        if status:
            raise Failure(f"'{' '.join(map(str, words))}' ended with {status}: {err}")
        return out

    def unplug(self):
        self.qmp("device_del", id="adapter")
        self.plugged = False
        self.wait_until("test ! -e /dev/ttyUSB0")

    def plug(self):
        """Does nothing when the adapter is plugged in."""
        if not self.plugged:
            self.qmp("device_add", driver="usb-serial", id="adapter", chardev="adapter")
            self.plugged = True
            self.wait_until("test -e /dev/ttyUSB0 && udevadm settle")

    def wait_until(self, test):
        wait_for(test, lambda: self.run("sh", "-c", test)[0] == 0)
