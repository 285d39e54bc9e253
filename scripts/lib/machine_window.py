"""Inside of the machine test's guest: a window whose adapter is pulled out, idle and in a run.

Each file `wanted` that it makes in the working directory asks for the adapter to be pulled out, or
to be plugged in again. Runs under with-desktop.sh.
"""

import pathlib
import tempfile

from bench import Atspi, Failure, Window, wait_for
from demo_run import event_rows, run_script

NODE = pathlib.Path("/dev/ttyUSB0")
PORT_TEXT = "ttyUSB0 = QEMU_USB_SERIAL"
SECONDS = 60  # the emulated machine is slow


def toggle_adapter():
    present = NODE.exists()
    pathlib.Path("wanted").touch()
    wait_for("the adapter comes or goes", lambda: NODE.exists() != present, SECONDS)


def connect(window):
    window.wait(f"the port list shows '{PORT_TEXT}'",
                lambda: window.find(Atspi.Role.COMBO_BOX, PORT_TEXT), SECONDS)
    window.click("Connect")
    window.wait("connected", lambda: window.button("Disconnect"), SECONDS)


def disconnect(window):
    window.click("Disconnect")
    window.wait("disconnected", lambda: window.button("Connect"), SECONDS)
    window.wait("the status bar says so", lambda: window.status() == "Disconnected", SECONDS)


def main():
    NODE.touch()  # the window's list begins with the latest
    with tempfile.TemporaryDirectory(prefix="packetbrask-") as directory, \
            Window("packetbrask", directory) as window:
        connect(window)
        toggle_adapter()
        disconnect(window)
        toggle_adapter()
        connect(window)
        window.click("Start Test")
        window.wait("echoes", lambda: int(window.value("Packets Received:")) > 3, SECONDS)
        toggle_adapter()
        window.wait("no ping gets out", lambda: "Failed to send packet" in window.log_text(), SECONDS)
        window.click("Stop Test")
        window.wait("the run is completed", lambda: "Test completed" in window.log_text(), SECONDS)
        disconnect(window)
        event_rows(directory)
        sent, received, lost = (int(window.value(f"Packets {what}:").split()[0])
                                for what in ("Sent", "Received", "Lost"))
        if sent != received + lost:
            raise Failure(f"sent {sent}, received {received}, lost {lost}")
        toggle_adapter()
        connect(window)
        if code := window.close():
            raise Failure(f"the window ended with {code}")


if __name__ == "__main__":
    run_script(main)
