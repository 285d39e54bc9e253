#!/usr/bin/python3
"""MODULE RUNNER PORTS [UMOCKDEV]: how the built program deals with ports, places to write and the ends of a run."""

import concurrent.futures, contextlib, fcntl, json, os, pathlib, re, resource, shutil, subprocess, sys, threading, unittest

import helpers

MODULE, RUNNER, PORTS, *MOCK = sys.argv[1:]
del sys.argv[1:]
USB = {"driver": "test_sio", "vendorId": "1d6b", "productId": "0104", "serialNumber": "A7 01", "product": "USB Serial",
       "latencyTimerMs": 16}
USB_FAULTS = ["{0} is running, which may open the port and send to it",
              "the adapter holds received bytes back for up to 16 ms; to have it 1 ms: echo 1 | sudo tee "
              "/sys/devices/usb1/1-1/1-1:1.0/ttyUSB0/latency_timer",
              "the system may put the adapter to sleep; to prevent that: echo on | sudo tee "
              "/sys/devices/usb1/1-1/power/control"]


def bit(register):
    """The next bit of a shift register of 15 bits with taps at the last two, which moves on."""
    register.insert(0, register[14] ^ register[13])
    register.pop()
    return register[0]


@contextlib.contextmanager
def plug():
    """The path of a line on which all comes back, and what has."""
    master, slave = os.openpty()
    carried = bytearray()

    def carry():
        with contextlib.suppress(OSError):  # the line's end
            while piece := os.read(master, 1000):
                carried.extend(piece)
                os.write(master, piece)
    thread = threading.Thread(target=carry)
    thread.start()
    yield os.ttyname(slave), carried
    os.close(slave)
    thread.join()
    os.close(master)


class ProgramTest(helpers.FolderTest):
    def module(self, *faults):
        module = self.enterContext(subprocess.Popen([MODULE, *faults], stdout=subprocess.PIPE, text=True))
        self.addCleanup(module.terminate)
        return module.stdout.readline().strip()

    def mocked(self, *options):
        return subprocess.run([*MOCK, "--device", PORTS, "--", RUNNER, *options], capture_output=True, text=True,
                              timeout=60, check=False)

    def until(self, process, text):
        told = next((line for line in iter(process.stderr.readline, "") if text in line), "")
        self.assertNotEqual(told, "", text)
        return told

    def test_tells_of_the_adapter(self):
        self.assertIn("/dev/ttyUSB0\tttyUSB0 = USB_Serial\n", self.mocked("--list").stdout)
        done = self.mocked("--port=/dev/ttyUSB0", "--timeout=50", "--duration=1", "--json=-")
        report = json.loads(done.stdout)
        self.assertEqual((done.returncode, report["adapter"], report["lineErrors"]), (1, USB, None))  # a pty after all

    def test_checks_ports(self):
        name = pathlib.Path("/proc/self/comm")
        self.addCleanup(name.write_text, name.read_text())
        name.write_text("ModemManager")  # a program that probes ports, for all that others can see
        me, line = f"ModemManager (process {os.getpid()})", self.module()

        def check(path, *expected):
            done = self.mocked("--check", "--port", path)
            others = "in use by (.*, )?" + re.escape(me) + ".*"  # tests at the same time
            found = [re.sub(others, f"in use by {me}", told.removeprefix(path + ": ")) for told in done.stdout.splitlines()]
            self.assertEqual(done.returncode, int(found != []))
            # What this machine has to say of others aside.
            self.assertEqual([told for told in found if "(process " not in told or me in told],
                             [told.format(me) for told in expected])
        check("/dev/ttyUSB0", *USB_FAULTS)
        check("/dev/ttyACM3")  # hidden from that program by a rule
        for program in ("brltty", "gpsd"):
            name.write_text(program)
            me = f"{program} (process {os.getpid()})"
            check("/dev/ttyACM3", USB_FAULTS[0])
        check("/nowhere", "No such file or directory")
        with open(line, "rb", buffering=0) as port:
            check(line)  # its other end is open, and that is nobody else's use
            fcntl.flock(port, fcntl.LOCK_EX)
            check(line, "in use by {0}")
        with open("/dev/full", "rb"):
            check("/dev/full", "no usable serial line: Inappropriate ioctl for device", "in use by {0}")

    def test_ends_without_a_run(self):
        pathlib.Path("full").write_text("mine", encoding="ascii")
        os.symlink("target", "link")
        line, failed = self.module(), "Connection failed: Failed to "
        for option, status, complaint in (
                ("--port=/nowhere", 3, failed + "open port - may be in use or doesn't exist (/nowhere: No such file or "
                                                "directory)"),
                ("--port=/dev/full", 3, failed + "configure port settings (/dev/full: no usable serial line: "
                                                 "Inappropriate ioctl for device)"),
                ("--events=link", 5, "cannot write the event file link: File exists"),
                ("--pings=full", 5, "cannot write the ping file full: File exists")):
            done = subprocess.run([RUNNER, "--port", line, "--quiet", option], capture_output=True, text=True, check=False)
            self.assertEqual((done.returncode, done.stderr), (status, f"packetbrask-run: {complaint}\n"))
            self.assertEqual(set(os.listdir()), {"full", "link"})
        self.assertEqual(pathlib.Path("full").read_text(encoding="ascii"), "mine")
        with open("/dev/full", "wb") as full:
            done = subprocess.run([RUNNER, "--help"], stdout=full, stderr=subprocess.PIPE, text=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (
            5, "packetbrask-run: cannot write to standard output: No space left on device\n"))
        with subprocess.Popen([RUNNER, "--port", line], stderr=subprocess.PIPE, text=True) as process:
            self.until(process, "Attempting to connect")
            process.terminate()  # before there is a run
            self.assertIn("Test stopped", process.communicate(timeout=60)[1])

    def test_tells_of_replies_without_a_code(self):
        module, port = os.openpty()
        with subprocess.Popen([RUNNER, "--port", os.ttyname(port), "--duration=1", "--timeout=50", "--no-screen", "--json=-",
                               "--events=e"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as process:
            self.assertTrue(os.read(module, 200) and os.write(module, b"\xc0\x00\xed\xc5\xc0\x01\x00\x8e\xd5"))
            told, log = process.communicate()
        self.assertRegex(log, "error response: 0xc0, no code\n.*error response: 0xc0, error code: 0\n")
        self.assertEqual(pathlib.Path("e").read_text(encoding="ascii").count("error response: 0xc0, error code: 0"), 2)
        self.assertEqual([[*reply.values()] for reply in json.loads(told)["unexpected"]["errorReplies"]],
                         [[None, 1, "no code"], [0, 1, "Ok"]])

    def test_measures_through_a_plug(self):
        pathlib.Path("file").write_bytes(b"abc")
        shifted = [1] * 15  # of ITU-T O.150, whose output is inverted
        prbs = bytes(sum((1 - bit(shifted)) << place for place in range(8)) for _ in range(24))
        walking = bytes(1 << bit for bit in range(8))
        sequences = {"zeros": bytes(24), "ones": b"\xff" * 24, "alternating": b"\x55\xaa" * 12, "prbs15": prbs,
                     "walking": walking + bytes(255 - byte for byte in walking) + walking,
                     "counting": bytes(range(24)), "file:file": b"abc" * 8}

        def carried_with(payload):
            with plug() as (port, carried):
                done = subprocess.run([RUNNER, "--port", port, "--loopback", "--rate=100", "--duration=1", "--min-size=20",
                                       "--max-size=20", "--json=-", "--max-left-out=100", f"--payload={payload}"],
                                      capture_output=True, text=True, timeout=60, check=False)
            return done, [carried[at:at + 24] for at in range(0, len(carried), 24)]
        with concurrent.futures.ThreadPoolExecutor(len(sequences)) as pool:
            for payload, (done, pings) in zip(sequences, pool.map(carried_with, sequences)):
                report = json.loads(done.stdout)
                self.assertEqual((done.returncode, report["packetsReceived"]), (0, len(pings)), done.stderr)
                self.assertEqual({key: report["configuration"][key] for key in ("payload", "loopback", "moduleScreen")},
                                 {"payload": payload, "loopback": True, "moduleScreen": False})
                self.assertEqual([ping[:10] for ping in pings], [bytes([0, 20, n]) + bytes(7) for n in range(len(pings))])
                self.assertEqual(b"".join(ping[10:22] for ping in pings[:2]), sequences[payload], payload)

    def test_ends_in_order(self):
        def terminate(process):
            process.terminate()
            self.until(process, "Waiting for final replies...")
            process.terminate()

        def fill_the_disk(process):
            resource.prlimit(process.pid, resource.RLIMIT_FSIZE, (60000, 60000))  # room for a report
            told = self.until(process, "packetbrask-run: ") + self.until(process, "packetbrask-run: ")
            for file in ("event", "ping"):
                self.assertIn(f"cannot write the {file} file {file}s: File too large; the run goes on without it\n", told)
            process.terminate()

        def suspend(process):
            subprocess.run(["sh", "-c", f"kill -STOP {process.pid}; sleep .1; kill -CONT {process.pid}"], check=True)
            process.terminate()

        for happen, faults, status, verdict in (
                (terminate, (), 0, "passed"), (suspend, (), 6, "disturbed"), (fill_the_disk, (), 5, "outputFailed"),
                (lambda process: None, ("--stall-after=.5",), 4, "lineLost"),
                (lambda process: shutil.rmtree(os.getcwd()), ("--unplug-after=2",), 5, "")):
            with self.subTest(verdict=verdict), subprocess.Popen(
                    [RUNNER, "--port", self.module("--report=1", *faults), "--rate=1000", "--min-size=124", "--timeout=500",
                     "--max-loss=100", f"--max-left-out={100 * (status != 6)}", "--events=events", "--pings=pings",
                     "--json=report"], stderr=subprocess.PIPE, text=True) as process:
                self.until(process, "SUCCESS: Packet")
                happen(process)
                complaints = process.communicate()[1].count("packetbrask-run: cannot write")
                self.assertEqual((process.returncode, complaints), (status, int(verdict == "")))
                if verdict == "":
                    break
                written = {name: pathlib.Path(name).read_bytes() for name in ("events", "pings", "report")}
                self.assertEqual(json.loads(written["report"])["verdict"], verdict)
                self.assertTrue(written["events"].endswith(b"\n") and written["pings"].endswith(b"\n"))
                self.assertEqual(b"Test stopped" in written["events"].splitlines()[-1], status != 5)
                for name in written:
                    os.remove(name)


if __name__ == "__main__":
    unittest.main()
