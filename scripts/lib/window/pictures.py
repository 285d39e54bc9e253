#!/usr/bin/python3
"""LOOK PICTURE MODULE WINDOW: the window after a short test, with the desktop's settings changed."""

import os
import pathlib
import subprocess
import sys
import tempfile

from driver import Atspi, Failure, Module, Window, descendants, extents, xdotool
from demo_run import PORT_TEXT, run_script

DARK = """[Colors:Window]
BackgroundNormal=35,38,41
ForegroundNormal=252,252,252
[Colors:View]
BackgroundNormal=27,30,32
ForegroundNormal=252,252,252
[Colors:Button]
BackgroundNormal=49,54,59
ForegroundNormal=252,252,252
[Colors:Selection]
BackgroundNormal=61,174,233
ForegroundNormal=0,0,0
"""
FONT = "DejaVu Sans,{},-1,5,50,0,0,0,0,0"


def set_look(look):
    """What a user sets for the whole desktop, before the program starts."""
    if look == "double":
        os.environ["QT_SCALE_FACTOR"] = "2"
    # Settings of this kind are the one way that Qt reads without a desktop at hand.
    os.environ.update(XDG_CURRENT_DESKTOP="KDE", KDE_SESSION_VERSION="5")
    settings = pathlib.Path(os.environ["HOME"], ".config", "kdeglobals")
    settings.parent.mkdir(exist_ok=True)
    font = FONT.format(18 if look == "large" else 9)
    settings.write_text(f"[General]\nfont={font}\nmenuFont={font}\n[KDE]\nwidgetStyle=Fusion\n"
                        + (DARK if look == "dark" else ""), encoding="utf-8")


def take_focus(window, fill_screen):
    """What the window manager of a desktop does for a new window, or to maximise it."""
    window_id = subprocess.run(
        ["xdotool", "search", "--onlyvisible", "--pid", str(window.process.pid)],
        check=True, capture_output=True, text=True, timeout=20).stdout.split()[0]
    xdotool("windowfocus", "--sync", window_id)
    if fill_screen:
        xdotool("windowmove", window_id, 0, 0, "windowsize", window_id, "100%", "100%")


def press(window, name):
    """Presses the button by the keyboard: Tab until it has the focus, then the space bar."""
    button = window.wait(f"button '{name}' can be pressed", lambda: window.button(name))
    for _ in range(20):
        if button.get_state_set().contains(Atspi.StateType.FOCUSED):
            xdotool("key", "space")
            return
        focused = [widget for widget in descendants(window.application)
                   if widget.get_state_set().contains(Atspi.StateType.FOCUSED)]
        xdotool("key", "Tab")
        window.wait("the focus moves on", lambda: not focused or not focused[0]
                    .get_state_set().contains(Atspi.StateType.FOCUSED))
    raise Failure(f"the Tab key does not reach '{name}'")


def check_places(window):
    """Nothing may stick out of the window, nor that out of the screen."""
    frame = extents(window.find(Atspi.Role.FRAME)[0])
    screen = subprocess.run(["xdotool", "getdisplaygeometry"], check=True, capture_output=True,
                            text=True, timeout=20).stdout.split()
    width, height = (int(side) / int(os.environ.get("QT_SCALE_FACTOR", "1")) for side in screen)
    if frame.width > width or frame.height > height:
        raise Failure(f"the window of {frame.width} x {frame.height} is larger than the screen")
    for role in (Atspi.Role.LABEL, Atspi.Role.PUSH_BUTTON, Atspi.Role.COMBO_BOX,
                 Atspi.Role.SPIN_BUTTON):
        for widget in window.find(role):
            area = extents(widget)
            if (area.x < frame.x or area.y < frame.y or area.x + area.width > frame.x + frame.width
                    or area.y + area.height > frame.y + frame.height):
                raise Failure(f"'{widget.get_name()}' sticks out of the window")


def main():
    look, picture, module, program = sys.argv[1:]
    set_look(look)
    with tempfile.TemporaryDirectory(prefix="packetbrask-") as directory, \
            Module(module, directory, ["--drop", "0.2", "--seed", "5"]), \
            Window(program, directory) as window:
        window.wait(f"the port list shows '{PORT_TEXT}'",
                    lambda: window.find(Atspi.Role.COMBO_BOX, PORT_TEXT))
        take_focus(window, look == "wide")
        press(window, "Connect")
        window.wait("connected", lambda: window.button("Disconnect"))
        press(window, "Start Test")
        window.wait("pings are lost", lambda: not window.value("Packets Lost:").startswith("0 "))
        press(window, "Stop Test")
        window.wait("the run is completed", lambda: "Test completed" in window.log_text())
        check_places(window)
        window.save_picture(picture)
        print(f"Picture: {picture}")


if __name__ == "__main__":
    run_script(main)
