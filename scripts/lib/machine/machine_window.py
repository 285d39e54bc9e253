"""Inside of the machine test's guest: a window whose adapter is pulled out, idle and in a run.

Each file `wanted` that it makes in the working directory asks for the adapter to be pulled out, or
to be plugged in again. Runs under with-desktop.sh.
"""

import os
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "window"))
from driver import Atspi, Failure, Window, wait_for  # noqa: E402  (found by the line above)
from demo_run import event_rows, run_script  # noqa: E402

NODE = pathlib.Path("/dev/ttyUSB0")
PORT_TEXT = "ttyUSB0 = QEMU_USB_SERIAL"
SECONDS = 60  # the emulated machine is slow


def toggle_adapter():
    present = NODE.exists()
    pathlib.Path("wanted").touch()
    wait_for("the adapter comes or goes", lambda: NODE.exists() != present, SECONDS)


class Person:
    """Presses buttons and looks at files; to look at the window takes seconds each time."""

    def __init__(self, window, directory):
        window.wait(f"the port list shows '{PORT_TEXT}'",
                    lambda: window.find(Atspi.Role.COMBO_BOX, PORT_TEXT), SECONDS)
        self.window = window
        self.directory = pathlib.Path(directory)
        self.buttons = {button.get_name(): button
                        for button in window.find(Atspi.Role.PUSH_BUTTON)}

    def press(self, name):
        button = self.buttons[name]
        wait_for(f"'{name}' can be pressed",
                 lambda: button.get_state_set().contains(Atspi.StateType.SENSITIVE), SECONDS)
        self.window.press(button)

    def has_port(self):
        opened = pathlib.Path(f"/proc/{self.window.process.pid}/fd").iterdir()
        return any(os.readlink(file).startswith(str(NODE)) for file in opened)

    def connect(self):
        self.press("Connect")
        wait_for("the port is open", self.has_port, SECONDS)

    def disconnect(self):
        self.press("Connect")  # it says "Disconnect" by now
        wait_for("the port is closed", lambda: not self.has_port(), SECONDS)

    def wait_for_row(self, text):
        def written():
            return any(text in file.read_text() for file in self.directory.glob("*.csv"))

        wait_for(f"'{text}' in the event file", written, SECONDS)


def lives_through(window, directory):
    person = Person(window, directory)
    person.connect()
    toggle_adapter()
    person.disconnect()
    toggle_adapter()
    person.connect()
    person.press("Start Test")
    person.wait_for_row(",Packet 3: ")
    toggle_adapter()
    person.wait_for_row("Failed to send packet")
    person.press("Stop Test")
    person.wait_for_row("Test stopped. Sent:")
    person.disconnect()
    event_rows(directory)
    sent, received, lost = (int(window.value(f"Packets {what}:").split()[0])
                            for what in ("Sent", "Received", "Lost"))
    if sent != received + lost:
        raise Failure(f"sent {sent}, received {received}, lost {lost}")
    toggle_adapter()
    person.connect()
    if code := window.close():
        raise Failure(f"the window ended with {code}")


def main():
    NODE.touch()  # the window's list begins with the latest
    with tempfile.TemporaryDirectory(prefix="packetbrask-") as directory, \
            Window("packetbrask", directory) as window:
        lives_through(window, directory)


if __name__ == "__main__":
    run_script(main)
