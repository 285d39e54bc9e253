#!/usr/bin/python3
"""SCENARIO MODULE WINDOW: one life of the whole program, as whoever sits before it would see it."""

import pathlib
import signal
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts" / "lib"))
from bench import Atspi, Failure, Module, Window  # noqa: E402  (found by the line above)
from demo_run import (connect, event_rows, finished_run, run_script, start_run,  # noqa: E402
                      wait_for_the_end)
from pictures import check_places  # noqa: E402

# At the smallest time-out of 50 ms the end of a run waits 0.6 s for replies. The rest is leeway.
END_SECONDS = 0.6 + 3.9


def run_until_echoes(window):
    """A fast endless run of large frames, which fill an unread line within a second."""
    connect(window)
    start_run(window, **{"Packets/Second": 200, "Min Data Size": 100, "Timeout": 50})
    window.wait("frames are echoed", lambda: int(window.value("Packets Received:")) > 20)


def end_run(window, directory):
    """Stops the run, which may not hang on the dead line, and leaves."""
    window.click("Stop Test")
    stopped = time.monotonic()
    wait_for_the_end(window, END_SECONDS)
    print(f"The run ended {time.monotonic() - stopped:.1f} s after 'Stop Test'")
    window.click("Disconnect")
    window.wait("disconnected", lambda: window.button("Connect"))
    window.wait("the status bar says so", lambda: window.status() == "Disconnected")
    event_rows(directory)
    if code := window.close():
        raise Failure(f"the window ended with {code}")


def finished(_module, window, directory):
    names = [window.application.get_name(), window.find(Atspi.Role.FRAME)[0].get_name()]
    if names != ["PacketBrask", "Varnott Packet Brask Testing Tool"]:
        raise Failure(f"program and window call themselves {names}")
    finished_run(window, directory)


def unplugged(module, window, directory):
    run_until_echoes(window)
    module.process.terminate()  # closes the line and takes the port away
    window.wait("no frame gets through", lambda: "Failed to send packet" in window.log_text())
    end_run(window, directory)


def stalled(module, window, directory):
    run_until_echoes(window)
    module.process.send_signal(signal.SIGSTOP)  # the line stays open, and unread it fills up
    sent = []

    def stands_still():
        sent.append(window.value("Packets Sent:"))
        return sent[-5:].count(sent[-1]) == 5

    try:
        window.wait("the line is full", stands_still)
        end_run(window, directory)
    finally:
        module.process.send_signal(signal.SIGCONT)


def terminated(_module, window, directory):
    run_until_echoes(window)
    window.choose("File", "Save Log...")
    window.wait("the dialog is open", lambda: window.button("Cancel"))
    window.process.terminate()
    if code := window.ended():
        raise Failure(f"the window ended with {code}")
    event_rows(directory)


def main():
    scenarios = (finished, unplugged, stalled, terminated)
    scenario = {each.__name__: each for each in scenarios}[sys.argv[1]]
    with tempfile.TemporaryDirectory(prefix="packetbrask-") as directory, \
            Module(sys.argv[2], directory) as module, Window(sys.argv[3], directory) as window:
        check_places(window)
        scenario(module, window, directory)


if __name__ == "__main__":
    run_script(main)
