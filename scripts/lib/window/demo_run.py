#!/usr/bin/python3
"""One short test of a simulated module through the window, from Connect to the finished run."""

import argparse
import csv
import pathlib
import shutil
import signal
import sys
import tempfile

from driver import Atspi, Failure, Module, Window

PORT_TEXT = "ttyUSB0 = PacketBrask"


def connect(window):
    window.wait(f"the port list shows '{PORT_TEXT}'",
                lambda: window.find(Atspi.Role.COMBO_BOX, PORT_TEXT))
    window.click("Connect")
    window.wait("connected", lambda: window.button("Disconnect"))


def start_run(window, **settings):
    """Enters the settings, captions with _ for the blanks, and starts a run."""
    for caption, number in settings.items():
        window.enter(caption.replace("_", " ") + ":", number)
    window.click("Start Test")
    window.wait("the run has started", lambda: window.button("Stop Test"))


def wait_for_the_end(window, seconds):
    window.wait("the run is completed", lambda: "Test completed" in window.log_text(), seconds)
    window.wait("another run can be started", lambda: window.button("Start Test"), 5)


def event_rows(directory):
    """The path of the only event file in the directory and its rows, checked for completeness."""
    files = list(pathlib.Path(directory).glob("PacketTest_*.csv"))
    if len(files) != 1:
        raise Failure(f"one event file expected, found {[file.name for file in files]}")
    with files[0].open(newline="", encoding="utf-8") as lines:
        rows = list(csv.reader(lines, strict=True))
    odd = [row for row in rows if len(row) != 6]
    if odd:
        raise Failure(f"{files[0].name}: rows that have not six columns: {odd[:3]}")
    if not rows or not any("Test stopped. Sent:" in field for field in rows[-1]):
        raise Failure(f"{files[0].name} does not end with the run: {rows[-1:]}")
    return files[0], rows


def finished_run(window, directory, picture=None):
    """Fails unless each frame was answered; returns the event file."""
    connect(window)
    # A busy machine may hold an echo back for longer than the usual time-out.
    start_run(window, **{"Packets/Second": 20, "Timeout": 2000, "Duration": 3})
    wait_for_the_end(window, 30)
    captions = ("Packets Sent:", "Packets Received:", "Packets Lost:", "Success Rate:")
    sent, received, lost, rate = (window.value(caption) for caption in captions)
    print(f"Sent {sent}, received {received}, lost {lost}, success rate {rate}")
    if picture:
        window.save_picture(picture)
        print(f"Picture: {picture}")
    if int(sent) < 1 or received != sent or lost != "0 (0.0%)" or rate != "100.0%":
        raise Failure("not every frame was answered")
    if not window.button("Disconnect"):
        raise Failure("the window lost its connection")
    file, rows = event_rows(directory)
    if code := window.close():
        raise Failure(f"the window ended with {code}")
    return file, rows


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--picture", help="where to save the window with the finished run")
    parser.add_argument("--keep", type=pathlib.Path, help="directory to copy the event file to")
    parser.add_argument("module")
    parser.add_argument("window")
    parser.add_argument("module_options", nargs=argparse.REMAINDER)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="packetbrask-") as directory, \
            Module(arguments.module, directory, arguments.module_options), \
            Window(arguments.window, directory) as window:
        file, rows = finished_run(window, directory, arguments.picture)
        if arguments.keep:
            arguments.keep.mkdir(parents=True, exist_ok=True)
            file = shutil.copy(file, arguments.keep)
        print(f"Event file: {file}, {len(rows)} rows" + ("" if arguments.keep else ", not kept"))


def run_script(main_function):
    """Calls it with failures made into messages, and termination into an orderly end."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    try:
        main_function()
    except Failure as failure:
        sys.exit(f"FAILED: {failure}")
    except KeyboardInterrupt:
        sys.exit(130)


if __name__ == "__main__":
    run_script(main)
