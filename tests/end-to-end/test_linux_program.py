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

from case import BUILD, CLOSE_STEAM, RESTART_STEAM, ProgramTestCase, SampleMachine
from desktop import ON_MACHINE, Application, Atspi, wait_for

PACKAGING = pathlib.Path(__file__).resolve().parent.parent.parent / "packaging"

# A file's mode does not bind root, unless it goes without these two.
WITHOUT_ROOTS_WAY = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"]


class WindowTestCase(ProgramTestCase):
    def window(self):
        return self.desktop.output("xdotool", "search", "--onlyvisible", "--name",
                                   "^Marrowpulse$").split()[0]

    def icon_sizes(self):
        icon = self.desktop.output("xprop", "-id", self.window(), "-notype", "32c", "_NET_WM_ICON")
        values = [int(value) for value in icon.split("=")[1].split(",")]
        sizes = []
        while values:
            width, height = values[:2]
            sizes.append((width, height))
            values = values[2 + width * height:]
        return sorted(sizes)


class Windows(WindowTestCase):
    def test_window_belongs_to_the_desktop_entry(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.read(PACKAGING / "org.marrowpulse.Marrowpulse.desktop")
        wm_class = self.desktop.output("xprop", "-id", self.window(), "WM_CLASS")
        names = [name.strip('" \n') for name in wm_class.split("=")[1].split(",")]
        self.assertIn(entry["Desktop Entry"]["StartupWMClass"], names)

    def test_window_has_an_icon(self):
        # Of its own: a window manager puts one picture of its own where there is none.
        self.assertEqual(self.icon_sizes(), [(size, size) for size in (16, 24, 32, 48, 64, 128)])

    def test_closing_the_window_ends_the_program(self):
        self.desktop.output("xdotool", "windowfocus", "--sync", self.window())
        self.desktop.key("alt+F4")
        self.assertEqual(self.program.wait(timeout=20), 0)

    def test_busy_indicator_moves_while_steam_is_awaited(self):
        os.kill(self.machine.client_pid(), signal.SIGSTOP)  # it will be slow to exit
        self.app.click(self.app.wait("list item", "Amber Tides"))
        self.desktop.key("space")
        self.status_is("1 game(s) with pending changes. Steam must close briefly to apply.")
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
        self.status_is("No pending changes.")


class InstalledIcon(WindowTestCase):
    def prepare(self):
        theme = self.machine.root / "home/.local/share/icons/hicolor"
        (theme / "48x48/apps").mkdir(parents=True)
        (theme / "index.theme").write_text("[Icon Theme]\nName=hicolor\nDirectories=48x48/apps\n\n"
                                           "[48x48/apps]\nSize=48\n")
        shutil.copy(PACKAGING / "icons/48.png",
                    theme / "48x48/apps/org.marrowpulse.Marrowpulse.png")

    def test_the_icon_of_the_theme_is_taken(self):
        self.assertEqual(self.icon_sizes(), [(48, 48)])


class StartedTwice(WindowTestCase):
    def prepare(self):
        self.machine.kill_client()

    def apply_change_to(self, app, game):
        app.click(app.wait("list item", game))
        self.desktop.key("space")
        wait_for(lambda: app.find("label", "1 game(s) with pending changes. Steam must close briefly "
                                           "to apply."), "the pending change")
        app.click(app.wait("push button", "Apply"))
        app.answer(RESTART_STEAM, "No")
        wait_for(lambda: app.find("label", "No pending changes."), "the end of the work")

    def test_both_windows_work_and_nothing_is_lost(self):
        first_text = self.machine.local_config.read_text()
        first = self.app
        # The windows lie over each other: the second goes where the first is not.
        window = self.window()
        self.desktop.start(BUILD / "marrowpulse", self.machine.root)
        second = wait_for(lambda: self.other_application(first), "the second window")
        self.apply_change_to(second, "Iron Lantern")
        self.desktop.output("xdotool", "windowraise", window, "windowfocus", "--sync", window)
        self.apply_change_to(first, "Amber Tides")

        text = self.machine.local_config.read_text()
        composed = self.machine.launch_options("1001010")
        self.assertTrue(composed.startswith("MARROWPULSE=1 "))
        self.assertEqual(self.machine.launch_options("1001090"), composed)
        self.assertEqual(text, first_text.replace("mangohud %command%", composed)
                         .replace("DXVK_ASYNC=1 %command%", composed))
        store = (self.machine.root / "home/.config/Marrowpulse/Marrowpulse.conf").read_text()
        self.assertIn("1001010=mangohud %command%\n", store)
        self.assertIn('1001090="DXVK_ASYNC=1 %command%"\n', store)

    def other_application(self, first):
        Atspi.get_desktop(0).clear_cache()
        desktop = Atspi.get_desktop(0)
        for i in range(desktop.get_child_count()):
            root = desktop.get_child_at_index(i)
            if root is not None and root.get_name().lower() == "marrowpulse" and root != first.root \
                    and root.get_process_id() != first.root.get_process_id():
                other = Application(self.desktop)
                other.root = root
                return other if other.find("list item", "Iron Lantern") else None
        return None


class OnWayland(unittest.TestCase):
    """On a compositor without a screen, which draws by the processor alone."""

    def setUp(self):
        self.machine = SampleMachine()
        self.addCleanup(self.machine.close)
        self.machine.kill_client()
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="marrowpulse-wayland.")))
        self.environment = {**os.environ, "WAYLAND_DISPLAY": "wayland-marrowpulse",
                            "QT_QPA_PLATFORM": "wayland", "WAYLAND_DEBUG": "client"}
        config = self.folder / "weston.ini"
        config.write_text("[shell]\nbackground-color=0xffff00ff\npanel-position=none\nanimation=none\n")
        self.start("weston", "--backend=headless-backend.so", "--use-pixman", "--width=1280", "--height=800",
                   "--idle-time=0", "--debug",  # lets the screen be pictured
                   "--socket=wayland-marrowpulse", f"--config={config}")
        wait_for(pathlib.Path(os.environ["XDG_RUNTIME_DIR"], "wayland-marrowpulse").exists, "the compositor")

    def start(self, *command):
        """Starts a command; returns the file of what it says."""
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
    def start_program(self):
        pass

    def test_home_that_cannot_be_read(self):
        self.machine.kill_client()
        home = self.machine.root / "home"
        self.addCleanup(home.chmod, 0o700)
        home.chmod(0)
        self.desktop.start(BUILD / "marrowpulse", self.machine.root,
                           WITHOUT_ROOTS_WAY if os.geteuid() == 0 else ())
        app = Application(self.desktop)
        self.assertEqual(app.wait("list", "Games").get_child_count(), 0)
        app.wait("label", "No pending changes.")


if __name__ == "__main__":
    unittest.main()
