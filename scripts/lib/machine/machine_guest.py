#!/usr/bin/python3
"""First program of the machine test's guest: brings the devices up and runs the host's commands.

Requests and answers are lines of JSON. {"id", "command"} is answered by {"id", "status", "out",
"err"} when that command, a list of words, has ended; {"id", "signal"} is sent to it meanwhile.
Commands run side by side.
"""

import json
import os
import pathlib
import subprocess
import sys
import threading
import time

PORT = pathlib.Path("/dev/virtio-ports/agent")
MOUNTS = (("proc", "/proc"), ("sysfs", "/sys"), ("devtmpfs", "/dev"), ("tmpfs", "/run"),
          ("devpts", "/dev/pts"), ("tmpfs", "/dev/shm"), ("tmpfs", "/root"))


def bring_up():
    os.environ.update(PATH="/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", HOME="/root")
    for kind, place in MOUNTS:
        os.makedirs(place, exist_ok=True)
        subprocess.run(["mount", "-t", kind, kind, place], check=True)
    for module in ("virtio_console", "vhci_hcd"):
        subprocess.run(["modprobe", module], check=True)
    subprocess.run(["/lib/systemd/systemd-udevd", "--daemon"], check=True)
    subprocess.run(["udevadm", "trigger", "--action=add"], check=True)
    subprocess.run(["udevadm", "settle"], check=True)
    while not PORT.exists():  # named some time after its driver is there
        time.sleep(0.1)


class Agent:
    def __init__(self, machine):
        self.machine = machine
        self.speaking = threading.Lock()
        self.running = {}

    def serve(self):
        self.say(id="up", status=0, out="", err="")
        for line in self.machine:
            request = json.loads(line)
            if "command" in request:
                self.start(**request)
            elif process := self.running.get(request["id"]):
                process.send_signal(request["signal"])

    def start(self, id, command):
        try:
            process = subprocess.Popen(command, cwd="/root", stdin=subprocess.DEVNULL,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        except OSError as error:
            self.say(id=id, status=127, out="", err=str(error))
            return
        self.running[id] = process
        threading.Thread(target=self.finish, args=(id, process), daemon=True).start()

    def finish(self, id, process):
        out, err = (text.decode(errors="replace") for text in process.communicate())
        self.say(id=id, status=process.returncode, out=out, err=err)

    def say(self, **answer):
        with self.speaking:
            self.machine.write(json.dumps(answer).encode() + b"\n")


if __name__ == "__main__":
    bring_up()
    with PORT.open("r+b", buffering=0) as port:
        Agent(port).serve()
    sys.exit("the host has gone")
