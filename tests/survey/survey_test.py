"""MODULE SURVEY REPORT SCHEMA: the built programs against modules that lose some pings, many or all."""

import concurrent.futures, contextlib, datetime, itertools, json, os, pathlib, re, signal
import subprocess, sys, tempfile

import jsonschema

import helpers

MODULE, SURVEY, REPORT, SCHEMA_FILE = sys.argv[1:]
SCHEMA = json.loads(pathlib.Path(SCHEMA_FILE).read_text(encoding="utf-8"))
DOCUMENT = pathlib.Path(SCHEMA_FILE).with_name("survey.md").read_text(encoding="utf-8")


def check(module_options, options, status, complete=True, happens=lambda module, program: None, tries=3):
    """A survey, shown on a terminal, during which, after its first trial, something `happens`.

    One that the computer has hindered tells nothing of the link and is made again; None when all tries were. One that
    should find a rate and does not is made again, too: on a busy computer pings come too fast for the module's limit.
    """
    master, slave = os.openpty()
    with tempfile.TemporaryDirectory() as folder, open(master, encoding="utf-8", newline="\n") as terminal:
        files = {name: pathlib.Path(folder, name) for name in ("json", "summary", "html")}
        module = subprocess.Popen([MODULE, "--summary", files["summary"], *module_options],
                                  stdout=subprocess.PIPE, text=True)
        program = subprocess.Popen([SURVEY, "--port", module.stdout.readline().strip(), "--json", files["json"],
                                    "--sizes=8,16", "--trial=0.2", "--timeout=100", "--baud=9600", *options],
                                   stdout=subprocess.PIPE, stderr=slave, text=True)
        os.close(slave)
        told = ""
        with contextlib.suppress(OSError):  # the terminal's end
            for line in terminal:
                told += line
                if " sent, " in line and told.count(" sent, ") == 1:
                    happens(module, program)
        table = program.communicate(timeout=60)[0]
        module.send_signal(signal.SIGCONT)  # where it was stopped
        module.terminate()
        module.communicate(timeout=60)
        report = json.loads(files["json"].read_text(encoding="utf-8"))
        jsonschema.validate(report, SCHEMA, format_checker=jsonschema.FormatChecker())
        spoiled = status == 0 and any(size["hindered"] for size in report["sizes"])
        if tries > 1 and (spoiled or report["exitStatus"] > status == 0):
            return check(module_options, options, status, complete, happens, tries - 1)
        if spoiled:
            return None
        assert program.returncode == report["exitStatus"] == status, told
        assert (not report["reasons"]) == (status == 0) and report["complete"] == complete, report
        assert all(f"packetbrask-survey: {reason}\r\n" in told for reason in report["reasons"]), told
        shown = subprocess.check_output([REPORT, files["json"], "--text", "--html", files["html"]], text=True)
        shown_as = ["ncomplete" in text for text in (files["html"].read_text(encoding="utf-8"), shown, table)]
        assert shown_as == [not complete] * 3
        check_lines(told, report)
        return table, shown, report, json.loads(files["summary"].read_text(encoding="utf-8"))


def check_lines(told, report):
    """What the terminal was told, held against the report."""
    lines, rates = [], []
    for size in report["sizes"]:
        for trial in size["trials"]:
            rate, sent, unsent = (trial[name] for name in ("packetsPerSecond", "packetsSent", "packetsUnsent"))
            lost = trial["packetsLost"] + trial["sendFailures"]
            assert sent == trial["packetsReceived"] + trial["packetsLost"]
            assert trial["cutShort"] or trial["sendingSeconds"] >= max(0.2, 3.5 / rate), trial
            assert int(trial["sendingSeconds"] * rate) <= sent + trial["sendFailures"] + unsent, trial
            lines.append(f"{'WARNING' if lost or unsent > 1 else 'SUCCESS'}: {size['sizeBytes']} bytes, {rate}/s: "
                         f"{sent} sent, {lost} lost{f', {unsent} left out' if unsent else ''}"
                         f"{', cut short' if trial['cutShort'] else ''}")
            rates.append((str(size["sizeBytes"]), str(report["sizes"].index(size) + 1), str(rate)))
        if size["complete"]:
            found = size["withoutLoss"]
            lines.append(f"INFO: {size['sizeBytes']} bytes: {found['packetsPerSecond']}/s without loss, "
                         f"{found['capacityPercent']:.1f} % of what the line has room for")
    assert re.findall(r"\] (\w+: \d+ bytes[^\r\n\033]*)", told) == lines, told
    states = re.findall(r"(\d+) bytes \((\d) of \d\) \| (\d+)/s \| about [1-9]\d* s left\r", told)
    states, rates = ([key for key, _ in itertools.groupby(rows)] for rows in (states, rates))
    assert states and states[:len(rates)] == rates and (report["reasons"] or "about 1 s left" in told), told


def finds_the_rate():
    survey = check(["--drop-above=20"], ["--sizes=8", "--trial=1", "--tag=cable=7"], 0)
    if not survey:
        print("this computer was too busy to find a rate")
        return
    table, shown, report, _ = survey
    size = report["sizes"][0]
    found = size["withoutLoss"]["packetsPerSecond"]
    assert 8 <= found <= 25 and f" {found} " in table and f"{found}/s" in shown and "cable 7" in shown, report
    assert size["lossDependsOnRate"] and not size["evenLoss"], report


def answers_too_late():
    report = check(["--delay=200"], [], 1, False)[2]
    assert re.fullmatch(r"echoes came after 2\d\d ms; the time-out is 100", report["reasons"][0]), report


def waits_for_the_module():
    report = check(["--drop=1"], [], 1, False)[2]
    assert 28 <= int(re.fullmatch("none of (.*) packets came back", report["reasons"][0])[1]) <= 30, report


def ends_early():
    report = check([], [], 1, False, lambda module, program: module.send_signal(signal.SIGSTOP))[2]
    since = report["silentSince"]
    assert re.fullmatch(f"the module fell silent: none of .*, and the last echo came {since['seconds']:.1f} s after the "
                        f"start, at {since['time'][11:19]}", report["reasons"][0]), report
    moment, start, end = map(datetime.datetime.fromisoformat, (since["time"], report["start"], report["end"]))
    assert abs((moment - start).total_seconds() - since["seconds"]) < 1 and (end - moment).total_seconds() > 3, report
    report, counts = check([], [], 1, False, lambda module, program: program.terminate())[2:]
    assert report["reasons"] == ["ended by a signal"] and len(report["sizes"][0]["trials"]) in (1, 2), report
    assert counts["pingsReceived"] - report["sizes"][0]["trials"][0]["packetsSent"] < 25  # it woke up at once
    report = check([], [], 4, False, lambda module, program: module.terminate())[2]
    assert report["reasons"] == ["the line takes no more packets"] and report["sizes"][0]["trials"], report


def tells_its_options():
    told = re.findall(r"^  (?:-\w, )?(--[\w-]+)", subprocess.check_output([SURVEY, "--help"], text=True), re.M)
    named = [name for row in helpers.rows_of(DOCUMENT, "Option") for name in re.findall(r"`(--[\w-]+)", row[0])]
    assert sorted(told) == sorted(named), told


with concurrent.futures.ThreadPoolExecutor() as pool:
    for result in [pool.submit(case) for case in (finds_the_rate, answers_too_late, waits_for_the_module, ends_early,
                                                   tells_its_options)]:
        result.result()
