# SPDX-License-Identifier: MIT
"""What a desktop expects of any program."""
import configparser
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

from case import (BUILD, CLOSE_STEAM, NOTHING_PENDING, PENDING, RESTART_STEAM, ProgramTestCase,
                  SampleMachine)
from desktop import ON_MACHINE, wait_for

PACKAGING = pathlib.Path(__file__).resolve().parent.parent.parent / "packaging"


class WindowTestCase(ProgramTestCase):
    def setUp(self):
        super().setUp()
        self.window = wait_for(self.desktop.active_window, "the window with the focus")

    def icon_sizes(self):
        icon = self.desktop.output("xprop", "-id", self.window, "-notype", "32c", "_NET_WM_ICON")
        values = [int(value) for value in icon.split("=")[1].split(",")]
        sizes = []
        while values:
            width, height = values[:2]
            sizes.append((width, height))
            values = values[2 + width * height:]
        return sorted(sizes)


class Windows(WindowTestCase):
    def test_the_window_belongs_to_the_desktop_entry_has_an_icon_and_closes(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.read(PACKAGING / "org.marrowpulse.Marrowpulse.desktop")
        wm_class = self.desktop.output("xprop", "-id", self.window, "WM_CLASS")
        names = [name.strip('" \n') for name in wm_class.split("=")[1].split(",")]
        self.assertIn(entry["Desktop Entry"]["StartupWMClass"], names)
        # All sizes: a window manager gives a window without an icon a single picture.
        self.assertEqual(self.icon_sizes(), [(size, size) for size in (16, 24, 32, 48, 64, 128)])

        def is_closed():
            # The first key changes the keyboard's map. Until openbox has taken it up, it misses keys.
            self.desktop.key("alt+F4")
            return self.program.poll() is not None

        wait_for(is_closed, "the end of the program")
        self.assertEqual(self.program.returncode, 0)

    def test_the_busy_indicator_moves_while_steam_is_awaited(self):
        os.kill(self.machine.client_pid(), signal.SIGSTOP)  # it will be slow to exit
        self.app.tick("Amber Tides")
        self.app.wait("label", PENDING)
        self.desktop.key("alt+a")
        self.app.answer(CLOSE_STEAM, "Yes")
        pictures = set()

        def moved():
            path = self.machine.root / "busy.png"
            self.desktop.screenshot(path)
            pictures.add(path.read_bytes())
            return len(pictures) >= 6  # more than come of the dialogs' coming and going

        wait_for(moved, "the indicator to move")
        os.kill(self.machine.client_pid(), signal.SIGCONT)
        self.app.answer(RESTART_STEAM, "No")
        self.app.wait("label", NOTHING_PENDING)


class InstalledIcon(WindowTestCase):
    def prepare(self):
        theme = self.machine.root / "home/.local/share/icons/hicolor"
        (theme / "48x48/apps").mkdir(parents=True)
        (theme / "index.theme").write_text("[Icon Theme]\nName=hicolor\nDirectories=48x48/apps\n\n"
                                           "[48x48/apps]\nSize=48\n")
        shutil.copy(PACKAGING / "icons/48.png",
                    theme / "48x48/apps/org.marrowpulse.Marrowpulse.png")

    def test_the_icon_themes_picture_is_taken(self):
        self.assertEqual(self.icon_sizes(), [(48, 48)])


class OnWayland(unittest.TestCase):
    """On a Wayland compositor without a screen, which draws into memory."""

    def setUp(self):
        self.machine = SampleMachine()
        self.addCleanup(self.machine.close)
        self.machine.kill_client()
        folder = tempfile.TemporaryDirectory(prefix="marrowpulse-wayland.")
        self.folder = pathlib.Path(self.enterContext(folder))
        self.environment = {**os.environ, "WAYLAND_DISPLAY": "wayland-marrowpulse",
                            "QT_QPA_PLATFORM": "wayland", "WAYLAND_DEBUG": "client"}
        config = self.folder / "weston.ini"
        config.write_text("[shell]\nbackground-color=0xffff00ff\npanel-position=none\nanimation=none\n")
        self.start("weston", "--backend=headless-backend.so", "--use-pixman", "--width=1280", "--height=800",
                   "--idle-time=0", "--debug",  # lets the screen be pictured
                   "--socket=wayland-marrowpulse", f"--config={config}")
        wait_for(pathlib.Path(os.environ["XDG_RUNTIME_DIR"], "wayland-marrowpulse").exists, "the compositor")

    def start(self, *command):
        """Starts a command; returns the file that gets its messages."""
        said = tempfile.NamedTemporaryFile(dir=self.folder, delete=False)
        process = self.enterContext(subprocess.Popen(
            command, cwd=self.folder, env=self.environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=said))
        self.addCleanup(process.kill)
        return pathlib.Path(said.name)

    def window_in_picture(self):
        """The width and height of what differs from the ground, and the number of its colours."""
        subprocess.run(["weston-screenshooter"], cwd=self.folder, env=self.environment, check=True,
                       stderr=subprocess.DEVNULL)
        picture, = self.folder.glob("*.png")
        told = subprocess.run(["convert", picture, "-trim", "-format", "%w %h %k", "info:"], check=True,
                              capture_output=True, text=True).stdout
        picture.unlink()
        return tuple(map(int, told.split()))

    def test_window_is_painted_and_belongs_to_the_desktop_entry(self):
        said = self.start(ON_MACHINE, self.machine.root, BUILD / "marrowpulse")

        def is_painted():
            width, height, colours = self.window_in_picture()
            return 900 <= width < 1280 and 620 <= height < 800 and colours > 100

        wait_for(is_painted, "the window with its pictures")
        self.assertIn('set_app_id("org.marrowpulse.Marrowpulse")', said.read_text())


class OddHome(ProgramTestCase):
    # With these two capabilities root reads every folder.
    through = (("setpriv", "--bounding-set=-dac_override,-dac_read_search") if os.geteuid() == 0 else ())

    def prepare(self):
        self.machine.kill_client()
        home = self.machine.root / "home"
        self.addCleanup(home.chmod, 0o700)
        home.chmod(0)

    def test_a_home_that_cannot_be_read_is_one_without_games(self):
        self.assertEqual(self.app.wait("list", "Games").get_child_count(), 0)
        self.app.wait("label", NOTHING_PENDING)


if __name__ == "__main__":
    unittest.main()
