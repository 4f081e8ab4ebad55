# SPDX-License-Identifier: MIT
"""The real program on a real screen, by pointer and keyboard. All times are milliseconds.

No accessibility bus is on while something is timed: it has the toolkit tell of every changed item, at
a cost that no player pays. One untimed run with it tells where the controls are, and the pointer goes
there afterwards. So the order of the keyboard's focus does not matter, nor does the toolkit's delay
of a tenth of a second between a button's letter and its press.
"""
import contextlib
import os
import pathlib
import select
import time

from Xlib import X, display as xdisplay
from Xlib.ext import xtest

from desktop import Application, Desktop
from machines import found

ACCESSIBILITY = ("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "QT_ACCESSIBILITY")
PROGRAM = "marrowpulse"
EMPTY_WINDOW = "bench_empty_window"
SECONDS = 120  # how long something may take before it counts as broken

# A disk that takes 40 ms for a sync, to put in front of the program.
SLOW_DISK = ("strace", "-f", "--seccomp-bpf", "-qq", "-o", "/dev/null", "-e", "trace=fsync,fdatasync",
             "-e", "inject=fsync,fdatasync:delay_exit=40000")


def poll(condition):
    deadline = time.monotonic() + SECONDS
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError("waited in vain")
        time.sleep(0.001)


def process_of(launcher, program):
    """The pid of the program itself below its launcher."""
    found = [launcher]
    for pid in found:
        for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
            found += [int(child) for child in (task / "children").read_text().split()]
    return next(pid for pid in reversed(found)
                if os.path.basename(os.readlink(f"/proc/{pid}/exe")) == program)


class Screen(Desktop):
    """A desktop without a window manager, whose windows and pixels are looked at."""

    def __init__(self):
        super().__init__(window_manager=False)
        for name in ACCESSIBILITY:
            del self.environment[name]
        self.display = xdisplay.Display(self.environment["DISPLAY"])
        self.root = self.display.screen().root
        self.root.change_attributes(event_mask=X.SubstructureNotifyMask)

    def is_painted(self):
        # Without a window the screen is black at these points.
        return any(any(self.root.get_image(x, y, 1, 1, X.ZPixmap, 0xFFFFFF).data[:3])
                   for x, y in ((640, 512), (450, 310)))

    def focus(self):
        """Gives the only window the keyboard, as a window manager would."""
        window, = (child for child in self.root.query_tree().children
                   if child.get_attributes().map_state == X.IsViewable
                   and child.get_geometry().width > 1)
        window.set_input_focus(X.RevertToParent, X.CurrentTime)
        self.display.sync()

    def click_at(self, place):
        xtest.fake_input(self.display, X.MotionNotify, x=int(place[0]), y=int(place[1]))
        xtest.fake_input(self.display, X.ButtonPress, 1)
        xtest.fake_input(self.display, X.ButtonRelease, 1)
        self.display.sync()

    @contextlib.contextmanager
    def expect(self, kind, popup=False):
        """Waits after its block until a popup or another window comes (X.MapNotify), or any goes
        (X.UnmapNotify)."""
        self.display.sync()
        while self.display.pending_events():
            self.display.next_event()
        yield
        deadline = time.monotonic() + SECONDS
        while True:
            while self.display.pending_events():
                event = self.display.next_event()
                if event.type == kind and (kind == X.UnmapNotify or bool(event.override) == popup):
                    return
            if not select.select([self.display], [], [], max(0, deadline - time.monotonic()))[0]:
                raise AssertionError("waited in vain for a window")

    def timed_xrandr(self):
        begin = time.monotonic()
        self.output("xrandr", "--current")
        return (time.monotonic() - begin) * 1000


class Run:
    """A program started on a machine until its window is painted; ended on exit."""

    def __init__(self, screen, build, machine, program=PROGRAM, through=()):
        machine.restore()
        self.screen = screen
        begin = time.monotonic()
        self.launcher = screen.start(build / program, machine.root, through)
        poll(screen.is_painted)
        self.started_ms = (time.monotonic() - begin) * 1000
        self.pid = process_of(self.launcher.pid, program)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.kill(self.pid, 9)
        self.launcher.wait()
        poll(lambda: not self.screen.is_painted())

    def peak_kib(self):
        return int(found(r"VmHWM:\s*(\d+)", f"/proc/{self.pid}/status"))

    def cpu_ms(self):
        """CPU time of the program so far, from the scheduler's own account."""
        return sum(int((task / "schedstat").read_text().split()[0])
                   for task in pathlib.Path(f"/proc/{self.pid}/task").iterdir()) / 1e6

    def settle(self):
        """Waits until the program has nothing left to do."""
        before = -1.0
        while self.cpu_ms() != before:
            before = self.cpu_ms()
            time.sleep(0.05)


class Player:
    """Knows where the controls are, and does with them what a player does."""

    def __init__(self, screen, build, machine):
        self.screen = screen
        self.build = build
        for name in ACCESSIBILITY:
            screen.environment[name] = "1"
        with Run(screen, build, machine):
            for name in ACCESSIBILITY:
                del screen.environment[name]
            application = Application(screen)
            self.apply_button = application.middle(application.wait("push button", "Apply"))
            self.frame_generation = application.middle(application.wait("check box", "Frame generation"))
            self.render_gpu = application.middle(application.wait_labelled("Rendering GPU:"))
            self.render_resolution = application.middle(application.wait_labelled("Render resolution:"))

    def change_one_game(self):
        self.screen.click_at(self.frame_generation)

    def change_all_games(self):
        """Chooses the other rendering GPU."""
        with self.screen.expect(X.MapNotify, popup=True):
            self.screen.click_at(self.render_gpu)
        with self.screen.expect(X.UnmapNotify):
            self.screen.key("Home", "Return")

    def time_apply(self, machine, change, changed, through=()):
        """From the press of Apply to the question that ends it."""
        with Run(self.screen, self.build, machine, through=through) as run:
            self.screen.focus()
            change()
            run.settle()
            with self.screen.expect(X.MapNotify):
                begin = time.monotonic()
                self.screen.click_at(self.apply_button)
            result = (time.monotonic() - begin) * 1000
            if machine.changed_lines() != changed:
                raise AssertionError(f"{machine.changed_lines()} games were changed, not {changed}")
        return result

    def keystroke_cpu(self, machine):
        """CPU time that one keystroke in a resolution box costs the program."""
        with Run(self.screen, self.build, machine) as run:
            self.screen.focus()
            self.screen.click_at(self.render_resolution)
            self.screen.key("ctrl+a")
            run.settle()
            before = run.cpu_ms()
            text = "1600x900" * 8
            self.screen.type(text)
            run.settle()
            return (run.cpu_ms() - before) / len(text)
