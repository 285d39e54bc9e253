#!/usr/bin/python3
"""SCENARIO MODULE WINDOW: one life of the whole program, as whoever sits before it would see it."""

import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts" / "lib" / "window"))
from driver import Failure, Module, Window  # noqa: E402  (found by the line above)
from demo_run import connect, event_rows, finished_run, run_script, start_run  # noqa: E402
from pictures import check_places  # noqa: E402


def terminated(window, directory):
    connect(window)
    start_run(window, Timeout=50)
    window.wait("frames are echoed", lambda: int(window.value("Packets Received:")) > 0)
    window.choose("File", "Save Log...")
    window.wait("the dialog is open", lambda: window.button("Cancel"))
    window.process.terminate()
    if code := window.ended():
        raise Failure(f"the window ended with {code}")
    event_rows(directory)


def main():
    scenario = {"finished": finished_run, "terminated": terminated}[sys.argv[1]]
    with tempfile.TemporaryDirectory(prefix="packetbrask-") as directory, \
            Module(sys.argv[2], directory), Window(sys.argv[3], directory) as window:
        check_places(window)
        scenario(window, directory)


if __name__ == "__main__":
    run_script(main)
