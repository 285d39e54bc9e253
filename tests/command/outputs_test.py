"""MODULE RUNNER SURVEY REPORT PROJECT: the built programs, when what they write to takes no more."""

import concurrent.futures, contextlib, itertools, json, os, pathlib, re, select, socket, subprocess
import sys, tempfile, time

MODULE, RUNNER, SURVEY, REPORT, PROJECT = sys.argv[1:]
NEEDED = {MODULE: ["--drop=1"], RUNNER: ["--duration=1", "--rate=1000", "--timeout=50"], SURVEY: ["--timeout=50"],
          REPORT: [PROJECT + "/docs/example/cable-a.json"]}  # without echoes a run and a survey fail
OUTPUTS = ((RUNNER, "--json"), (RUNNER, "--junit"), (RUNNER, "--events"), (RUNNER, "--pings"), (SURVEY, "--json"),
           (REPORT, "--html"), (MODULE, "--summary"), (MODULE, "--ledger"))
WAYS = (([], "full", "No space left on device"), ([], "-", "No space left on device"),
        ([], "none/file", "No such file or directory"), ([], "pipe", "No such device or address"),
        ([], ".", "it is there and no regular file"), (["prlimit", "--fsize=20"], "file", "File too large"),
        (["prlimit", "--fsize=300"], "file", "File too large"))  # rows exceed that in the middle of a run


@contextlib.contextmanager
def module(folder, prefix=(), options=()):
    with subprocess.Popen([*prefix, MODULE, *NEEDED[MODULE], *options], cwd=folder, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE) as process:
        try:
            yield process, ["--port", process.stdout.readline().strip()]
        finally:
            process.terminate()


def fails(output, way):
    """The status is 5 whatever else is wrong, the reason is told, and what was there stays."""
    (program, option), (prefix, place, reason) = output, way
    of_module, is_new, asked = program == MODULE, option in ("--events", "--pings"), [f"{option}={place}"]
    if place == "-" and (of_module or is_new):
        return
    other = RUNNER if of_module else program
    with tempfile.TemporaryDirectory() as folder, open("/dev/full", "wb") as full:
        os.mkfifo(folder + "/pipe")
        try:
            os.mknod(folder + "/full", 0o20600, os.stat("/dev/full").st_rdev)
        except PermissionError:  # as root the link would put /dev/full itself at stake
            os.symlink("/dev/full", folder + "/full")
        if not is_new:
            pathlib.Path(folder, "file").write_text("old", encoding="ascii")
        with module(folder, prefix * of_module, asked * of_module) as (process, port):
            done = subprocess.run([*prefix * (not of_module), other, *NEEDED[other], *port * (other != REPORT),
                                   *asked * (not of_module)], cwd=folder, text=True, timeout=60, check=False,
                                  stdout=full if place == "-" else subprocess.DEVNULL, stderr=subprocess.PIPE)
            process.terminate()
            status, told = (process.wait(60), process.stderr.read()) if of_module else (done.returncode, done.stderr)
        reason = "File exists" if is_new and place in ("full", "pipe", ".") else reason
        assert status == 5 and re.search(f"^{pathlib.Path(program).name}: cannot write [^:]*: {reason}", told, re.M), told
        left = {file.name: file.read_text(encoding="ascii") for file in pathlib.Path(folder).iterdir() if file.is_file()}
        assert left == {"file": "old"} or is_new and all(text[-1:] in ("", "\n") for text in left.values()), left


def written_as_they_are():
    """What cannot be replaced; and a report knows that the other output failed."""
    with tempfile.TemporaryDirectory() as folder, open("/dev/full", "wb") as full, module(folder) as (_, port):
        file, pipe, reports = (pathlib.Path(folder, name) for name in ("file", "pipe", "reports"))
        file.write_text("old ", encoding="ascii")
        with open(file, "ab") as stream:
            subprocess.run([REPORT, *NEEDED[REPORT], "--html=/dev/stdout"], stdout=stream, check=True)
        os.mkfifo(pipe)
        with subprocess.Popen(["cp", pipe, reports]), open(pipe, "ab"):
            subprocess.run([REPORT, *NEEDED[REPORT], "--html", pipe], check=True)
        page = reports.read_text(encoding="utf-8")
        assert file.read_text(encoding="utf-8") == "old " + page and page.endswith("</html>\n"), page
        for program, options in ((RUNNER, ["--junit", pipe]), (SURVEY, [])):
            done = subprocess.run([program, *NEEDED[program], *port, *options, "--json", reports], stdout=full,
                                  stderr=subprocess.DEVNULL, check=False)
            report = json.loads(reports.read_text(encoding="utf-8"))
            assert done.returncode == report["exitStatus"] == 5 and "cannot write" in " ".join(report["reasons"]), report


@contextlib.contextmanager
def filled(kind):
    """A reader and a writer of what has no more room."""
    ends = {"pipe": os.pipe, "terminal": os.openpty, "socket": lambda: [end.detach() for end in socket.socketpair()]}[kind]()
    os.set_blocking(ends[1], False)
    while select.select([], [ends[1]], [], 0.2)[1]:  # a terminal hands on what it has taken
        with contextlib.suppress(BlockingIOError):
            while os.write(ends[1], b"x"):
                pass
    os.set_blocking(ends[1], True)  # as a shell hands it on
    with open(ends[0], "rb"), open(ends[1], "wb"):
        yield ends


def drained(reader):
    told = b""
    while select.select([reader], [], [], 0)[0]:
        told += os.read(reader, 65536)
    return told


def goes_on(kind):
    """Nobody reads standard error; what was left out is told when there is room again."""
    with tempfile.TemporaryDirectory() as folder, filled(kind) as (reader, errors), module(folder) as (_, port):
        for program, options, status in ((MODULE, ["--link=none/link"], 1), (REPORT, ["none"], 1), (SURVEY, port, 1)):
            assert subprocess.run([program, *NEEDED[program], *options], stdout=subprocess.DEVNULL, stderr=errors,
                                  cwd=folder, timeout=60, check=False).returncode == status, program
        files, told = [pathlib.Path(folder, name) for name in ("pings", "events")], b""
        with subprocess.Popen([RUNNER, *port, "--rate=200", "--timeout=50", "--max-left-out=100", "--pings", files[0], "--events", files[1]],
                              stderr=errors) as process:
            while process.poll() is None and (not files[0].exists() or files[0].read_bytes().count(b"\n") < 2):
                time.sleep(0.01)  # until the first second is written
            told += drained(reader)
            process.terminate()
            assert process.wait(60) == 1
        told += drained(reader)
        left_out = re.findall(rb"packetbrask-run: lines left out, as standard error was full: (\d+)\r?\n", told)
        # The rows, and what the program says before the first one and after the last one.
        others = told.count(b"\n") - len(left_out) + sum(map(int, left_out)) - files[1].read_bytes().count(b"\n")
        assert left_out and others == 4 and b": not passed: none of" in told, (others, told.strip(b"x"))


with concurrent.futures.ThreadPoolExecutor(8) as pool:
    for result in [pool.submit(goes_on, kind) for kind in ("pipe", "terminal", "socket")] + [
            pool.submit(written_as_they_are)] + [pool.submit(fails, *case) for case in itertools.product(OUTPUTS, WAYS)]:
        result.result()
