"""A simulated module and the window, driven as a person does: by the mouse and the keyboard.

Widgets are found by their texts through the accessibility bus, so their places may change. Runs
under with-desktop.sh.
"""

import contextlib
import os
import pathlib
import subprocess
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  (the version comes first)

POLL_SECONDS = 0.05
REPORTED_LINES = 60


class Failure(Exception):
    """The programs did not do what was expected; the text says what."""


def wait_for(what, condition, seconds=15):
    """Polls until `condition()` is true and returns its value."""
    deadline = time.monotonic() + seconds
    while True:
        with contextlib.suppress(GLib.Error):  # a widget that is just going away
            if value := condition():
                return value
        if time.monotonic() > deadline:
            raise Failure(f"waited {seconds:g} s in vain: {what}")
        time.sleep(POLL_SECONDS)


def report(speaker, text):
    last_lines = "\n".join(text.splitlines()[-REPORTED_LINES:])
    print(f"--- last words of {speaker}:\n{last_lines}", flush=True)


def xdotool(*arguments):
    subprocess.run(["xdotool", *map(str, arguments)], check=True, timeout=20)


class Program:
    """A child process whose output is kept in a file; ended when the context is left."""

    def __init__(self, name, command, directory, environment, new_session=False):
        self.name = name
        self.log = pathlib.Path(directory, f"{name}.log")
        with self.log.open("wb") as output:
            self.process = subprocess.Popen(
                command, cwd=directory, env=environment, stdin=subprocess.DEVNULL,
                stdout=output, stderr=subprocess.STDOUT, start_new_session=new_session)

    def __enter__(self):
        return self

    def __exit__(self, kind, error, trace):
        with contextlib.suppress(subprocess.TimeoutExpired):
            if self.process.poll() is None:
                self.process.terminate()
                self.process.wait(10)
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        if kind is not None:
            report(f"{self.name} (exit code {self.process.returncode})",
                   self.log.read_text(errors="replace"))

    def check_alive(self):
        if self.process.poll() is not None:
            raise Failure(f"{self.name} ended with {self.process.returncode}")


class Module(Program):
    """The simulated module, plugged in as /dev/ttyUSB0 of the test bed when this returns."""

    def __init__(self, program, directory, options=()):
        node = pathlib.Path(os.environ["UMOCKDEV_DIR"], "dev", "ttyUSB0")
        node.unlink(missing_ok=True)  # the test bed's own, which nobody answers
        # Outside of the test bed the module gets a real pseudo-terminal.
        environment = {k: v for k, v in os.environ.items() if k != "LD_PRELOAD"}
        super().__init__("module", [program, "--link", node, *options], directory, environment,
                         new_session=True)
        try:
            wait_for("the module is plugged in", lambda: self.check_alive() or node.exists())
        except Failure as failure:
            self.__exit__(Failure, failure, None)
            raise


class Window(Program):
    """The window program in `directory`, where its event files go.

    It leads a session without a terminal, as it does when a desktop starts it; the hang-up of a
    port that became its controlling terminal would kill it.
    """

    def __init__(self, program, directory):
        super().__init__("window", [program], directory, dict(os.environ), new_session=True)
        self.application = None
        try:
            self.application = self.wait("the window is shown", self._find_application, 60)
        except Failure as failure:
            self.__exit__(Failure, failure, None)
            raise

    def __exit__(self, kind, error, trace):
        if kind is not None and self.process.poll() is None:
            with contextlib.suppress(GLib.Error, Failure, AttributeError):
                report("the window's log view", self.log_text())
        super().__exit__(kind, error, trace)

    def _find_application(self):
        for application in children(Atspi.get_desktop(0)):
            if application.get_process_id() == self.process.pid and list(children(application)):
                # Texts change all the time, and no main loop runs here to be told of it.
                application.set_cache_mask(Atspi.Cache.NONE)
                return application
        return None

    def wait(self, what, condition, seconds=15):
        """Like wait_for(), but fails at once when the program has ended."""

        def checked():
            self.check_alive()
            for box in self.find(Atspi.Role.ALERT) if self.application else ():
                texts = [label.get_name() for label in self.find(Atspi.Role.LABEL)
                         if label.get_parent() == box]
                raise Failure(f"the box '{box.get_name()}' came up: {' '.join(texts)}")
            return condition()

        return wait_for(what, checked, seconds)

    def find(self, role, name=None):
        """All widgets on screen with this role, and this name if given."""
        return [widget for widget in descendants(self.application)
                if widget.get_role() == role and name in (None, widget.get_name())
                and widget.get_state_set().contains(Atspi.StateType.SHOWING)]

    def button(self, name):
        """The button when it can be pressed, else None."""
        return next((button for button in self.find(Atspi.Role.PUSH_BUTTON, name)
                     if button.get_state_set().contains(Atspi.StateType.SENSITIVE)), None)

    def click(self, name):
        """Presses the button as soon as it can be pressed."""
        self.press(self.wait(f"button '{name}' can be pressed", lambda: self.button(name)))

    def press(self, widget):
        area = extents(widget)
        xdotool("mousemove", area.x + area.width // 2, area.y + area.height // 2, "click", 1)

    def beside(self, caption):
        """The widget that the label with this text is for."""
        for label in self.find(Atspi.Role.LABEL, caption):
            for relation in label.get_relation_set():
                if relation.get_relation_type() == Atspi.RelationType.LABEL_FOR:
                    return relation.get_target(0)
        raise Failure(f"'{caption}' labels no widget")

    def value(self, caption):
        """What the label beside the caption says."""
        return self.beside(caption).get_name()

    def enter(self, caption, number):
        """Types the number into the box beside the caption."""
        box = self.beside(caption)
        area = extents(box)
        # Off the centre: the arrows are at the right end.
        xdotool("mousemove", area.x + area.width // 4, area.y + area.height // 2, "click", 1)
        xdotool("key", "ctrl+a")
        xdotool("type", str(number))
        xdotool("key", "Tab")
        self.wait(f"'{caption}' takes {number}",
                  lambda: Atspi.Value.get_current_value(box) == number)

    def log_text(self):
        """Everything in the log view."""
        view = self.find(Atspi.Role.TEXT)[0]
        return Atspi.Text.get_text(view, 0, Atspi.Text.get_character_count(view))

    def status(self):
        return self.find(Atspi.Role.STATUS_BAR)[0].get_name()

    def choose(self, *entries):
        """Takes the way through the menu."""
        for entry in entries:
            self.press(self.wait(
                f"menu entry '{entry}'",
                lambda: next(iter(self.find(Atspi.Role.MENU_ITEM, entry)), None)))

    def ended(self):
        """Returns the exit code of a window that has been asked to end."""
        try:
            return self.process.wait(20)
        except subprocess.TimeoutExpired as error:
            raise Failure("the window does not end") from error

    def close(self):
        """Leaves through the menu and returns the exit code."""
        self.choose("File", "Exit")
        return self.ended()

    def save_picture(self, path):
        window = subprocess.run(
            ["xdotool", "search", "--onlyvisible", "--pid", str(self.process.pid)],
            check=True, capture_output=True, text=True, timeout=20).stdout.split()[0]
        subprocess.run(["import", "-window", window, f"png:{path}"], check=True, timeout=60)


def children(widget):
    for index in range(widget.get_child_count()):
        child = widget.get_child_at_index(index)
        if child is not None:
            yield child


def descendants(widget):
    for child in children(widget):
        yield child
        yield from descendants(child)


def extents(widget):
    return Atspi.Component.get_extents(widget, Atspi.CoordType.SCREEN)
