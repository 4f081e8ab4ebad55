# SPDX-License-Identifier: MIT
"""A desktop to drive a program on from outside: a real X server with a window manager, keyboard and
pointer through xdotool, and the accessibility bus to see what is on the screen.

To be run through tests/support/own-environment and on-desktop-bus, so that the accessibility bus is
its own and nothing of the caller's desktop counts.
"""
import os
import pathlib
import subprocess
import tempfile
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

ON_MACHINE = pathlib.Path(__file__).resolve().parent.parent / "support" / "on-machine"

XORG_CONFIG = """
Section "ServerFlags"
    Option "AutoAddDevices" "false"
    Option "AutoAddGPU" "false"
EndSection
Section "Device"
    Identifier "dummy"
    Driver "dummy"
    VideoRam 64000
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 5.0-1000.0
    VertRefresh 5.0-200.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "dummy"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Modes "1280x1024"
    EndSubSection
EndSection
"""


def wait_for(condition, what, seconds=20):
    """Returns the first true value of condition(); fails when there is none in time."""
    deadline = time.monotonic() + seconds
    while True:
        try:
            value = condition()
        except GLib.Error:  # an object went away while it was looked at
            value = None
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"waited {seconds} s for {what}")
        time.sleep(0.05)


class Desktop:
    """An X server of its own with a window manager; ended, with all that it runs, on exit.

    `real_xrandr` takes the Xorg server with the dummy driver, whose screen has a current mode
    (1280x1024 at 85 Hz), else Xvfb, whose screen of the size `screen` has none. `scale` is that of the
    programs, which tell places in their own, larger pixels.
    """

    def __init__(self, real_xrandr=False, screen="1280x1024", scale=1, window_manager=True):
        self.scale = scale
        self.folder = tempfile.TemporaryDirectory(prefix="marrowpulse-desktop.")
        self.processes = []
        read_end, write_end = os.pipe()
        if real_xrandr:
            config = pathlib.Path(self.folder.name, "xorg.conf")
            config.write_text(XORG_CONFIG)
            server = ["/usr/lib/xorg/Xorg", "-config", str(config), "-sharevts", "-novtswitch",
                      "-logfile", str(config.with_suffix(".log"))]
        else:
            server = ["Xvfb", "-screen", "0", f"{screen}x24"]
        self.environment = dict(os.environ)
        self._start(server + ["-displayfd", str(write_end), "-noreset", "-nolisten", "tcp"],
                    pass_fds=[write_end])
        os.close(write_end)
        with os.fdopen(read_end) as display:
            number = display.readline().strip()
        if not number:
            raise AssertionError(f"{server[0]} did not start")
        self.environment.update(DISPLAY=f":{number}", QT_QPA_PLATFORM="xcb", QT_SCALE_FACTOR=str(scale),
                                QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_ACCESSIBILITY="1")
        os.environ["DISPLAY"] = f":{number}"
        if not window_manager:
            return
        self._start(["openbox"])
        wait_for(lambda: "window id" in self.output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"),
                 "the window manager")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.kill()
            process.wait()
        self.folder.cleanup()

    def _start(self, command, stderr=subprocess.DEVNULL, **options):
        process = subprocess.Popen(command, env=self.environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=stderr, **options)
        self.processes.append(process)
        return process

    def output(self, *command):
        """What a command prints on this desktop."""
        return subprocess.run(command, env=self.environment, capture_output=True, text=True,
                              check=False).stdout

    def start(self, program, machine, through=(), stderr=subprocess.DEVNULL, **environment):
        """Starts the program on the pretend machine in the folder `machine`, with the command
        `through` in front of it."""
        self.environment.update(environment)
        return self._start([str(ON_MACHINE), str(machine), *through, str(program)], stderr=stderr)

    def key(self, *keys):
        """Presses key combinations by their X names, such as Tab or alt+a."""
        for combination in keys:
            subprocess.run(["xdotool", "key", "--clearmodifiers", combination],
                           env=self.environment, check=True)

    def type(self, text):
        subprocess.run(["xdotool", "type", "--delay", "20", text], env=self.environment, check=True)

    def click(self, x, y):
        subprocess.run(["xdotool", "mousemove", "--sync", str(int(x * self.scale)),
                        str(int(y * self.scale)), "click", "1"], env=self.environment, check=True)

    def active_window(self):
        return self.output("xdotool", "getactivewindow").strip()

    def screenshot(self, path, window="root"):
        """Pictures the whole screen, or a window with its frame."""
        subprocess.run(["import", "-frame", "-window", window, str(path)], env=self.environment,
                       check=True)


def children(accessible):
    for i in range(accessible.get_child_count()):
        child = accessible.get_child_at_index(i)
        if child is not None:
            yield child


def descendants(accessible):
    for child in children(accessible):
        yield child
        yield from descendants(child)


def role_of(accessible):
    """The name of an object's role. AT-SPI 2.56 began to call a push button a button."""
    role = accessible.get_role()
    return "push button" if role == Atspi.Role.PUSH_BUTTON else Atspi.role_get_name(role)


def has_state(accessible, state):
    return accessible.get_state_set().contains(state)


def label_of(accessible):
    """The text of the label that a control belongs to; empty without one."""
    for relation in accessible.get_relation_set():
        # Qt says that the title of a group box labels what is in the group, too.
        if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY \
                and role_of(relation.get_target(0)) == "label":
            return relation.get_target(0).get_name()
    return ""


def is_showing(accessible):
    return has_state(accessible, Atspi.StateType.SHOWING)


class Application:
    """The program on the accessibility bus."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.root = wait_for(self._find_root, "the program on the accessibility bus")

    def _find_root(self):
        Atspi.get_desktop(0).clear_cache()
        for application in children(Atspi.get_desktop(0)):
            try:
                if application.get_name().lower() == "marrowpulse":
                    return application
            except GLib.Error:
                pass  # that of an earlier test, which is still listed for a moment
        return None

    def _first(self, holds):
        """The first object on the screen that fulfils a condition, or None."""
        return next((accessible for accessible in descendants(self.root)
                     if is_showing(accessible) and holds(accessible)), None)

    def find(self, role, name=None):
        """The first showing object of a role (and name), or None."""
        return self._first(lambda accessible: role_of(accessible) == role
                           and name in (None, accessible.get_name()))

    def wait(self, role, name=None, seconds=20):
        return wait_for(lambda: self.find(role, name), f"{role} {name!r}", seconds)

    def wait_labelled(self, label):
        """The control that a label belongs to."""
        return wait_for(lambda: self._first(lambda accessible: label_of(accessible) == label),
                        f"the control labelled {label!r}")

    def wait_gone(self, role, name):
        wait_for(lambda: not self.find(role, name), f"the end of {role} {name!r}")

    def click(self, accessible, at_its_end=False):
        """Clicks the middle of an object, or near its right edge."""
        x, y = self.middle(accessible)
        if at_its_end:
            x += accessible.get_extents(Atspi.CoordType.SCREEN).width / 2 - 10
        self.desktop.click(x, y)

    def press(self, button):
        self.click(self.wait("push button", button))

    def tick(self, game):
        """Selects a game, and turns its tick over."""
        self.click(self.wait("list item", game))
        self.desktop.key("space")

    def middle(self, accessible):
        """The middle of an object on the screen."""
        box = accessible.get_extents(Atspi.CoordType.SCREEN)
        return box.x + box.width / 2, box.y + box.height / 2

    def focused(self):
        """The showing control that has the keyboard focus, or None."""
        # The current item of a list says so whether or not the list has the focus.
        return self._first(lambda accessible: role_of(accessible) != "list item"
                           and has_state(accessible, Atspi.StateType.FOCUSED))

    def answer(self, text, button):
        """Waits for the message box with this text and clicks one of its buttons."""
        box = wait_for(lambda: next(
            (window for window in children(self.root)
             if any(child.get_name() == text for child in descendants(window))
             and is_showing(window)), None), f"the message {text!r}")
        found = wait_for(lambda: next(
            (child for child in descendants(box) if role_of(child) == "push button"
             and child.get_name() == button), None), f"its button {button!r}")
        wait_for(lambda: found.get_extents(Atspi.CoordType.SCREEN).width > 0,
                 "the button's place")
        self.click(found)
        wait_for(lambda: box not in list(children(self.root)), f"the end of the message {text!r}")
