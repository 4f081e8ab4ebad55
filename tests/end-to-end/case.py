# SPDX-License-Identifier: MIT
"""What the end-to-end tests share: the program on a fresh sample machine on a desktop of its own."""
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest

from desktop import Application, Atspi, Desktop, has_state, wait_for

BUILD = pathlib.Path(os.environ["MARROWPULSE_BUILD"]).resolve()

CLOSE_STEAM = ("Steam stores launch options in a file it rewrites on exit, so it must be closed to "
               "apply changes.\n\nClose Steam now? (It will be restarted afterwards.)")
RESTART_STEAM = "Changes applied. Restart Steam now?"
PENDING = "1 game(s) with pending changes. Steam must close briefly to apply."
NOTHING_PENDING = "No pending changes."

AMBER_TIDES = "1001010"  # the first game, which has options of its own


def composed(output, cap):
    """What Amber Tides gets with this output resolution and cap, and default settings otherwise."""
    width, height = output.split("x")
    return ("MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 MARROWPULSE_FG_RENDER_RES=1 "
            "marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:164e -w 1280 -h 720 "
            f"-W {width} -H {height} -F fsr -r {cap} -f --force-windows-fullscreen -g -- "
            "env MESA_VK_DEVICE_SELECT=pci-0000_03_00_0 DRI_PRIME=10de:2684 %command%")


def choose_a_larger_output(app):
    """Chooses 2560x1440 for the current game by pointer and keyboard."""
    resolution = app.wait_labelled("Output resolution:")
    wait_for(lambda: has_state(resolution, Atspi.StateType.ENABLED), "the enabled settings")
    app.click(resolution, at_its_end=True)
    app.desktop.key("Up", "Return")
    wait_for(lambda: resolution.get_name() == "2560x1440", "the chosen resolution")


class SampleMachine:
    """The sample machine in a temporary folder, or the one in the folder `root`. Its Steam client is
    started with the program."""

    def __init__(self, root=None):
        if root is None:
            self.folder = tempfile.TemporaryDirectory(prefix="marrowpulse-sample.")
            root = self.folder.name
            subprocess.run([BUILD / "sample-machine", root], check=True)
        self.root = pathlib.Path(root)
        self.steam = self.root / "home/.local/share/Steam"
        self.local_config = self.steam / "userdata/70001/config/localconfig.vdf"

    def close(self):
        self.kill_client()
        self.folder.cleanup()

    def kill_client(self):
        """Ends the client, and keeps it from being started with the program."""
        (self.root / "steam-runs").unlink(missing_ok=True)
        if self.client_runs():
            os.kill(self.client_pid(), signal.SIGKILL)

    def client_pid(self):
        return int((self.root / "home/.steam/steam.pid").read_text())

    def client_runs(self):
        try:
            return os.readlink(f"/proc/{self.client_pid()}/exe") == str(self.steam / "ubuntu12_32/steam")
        except OSError:
            return False

    def backups(self):
        return sorted(self.local_config.parent.glob("localconfig.vdf.bak-marrow-*"))

    def launch_options(self, appid):
        """The game's value in Steam's file, found as plainly as can be; None without one."""
        block = re.search(r'"%s"\n\t*\{(.*?)\n\t{5}\}' % appid, self.local_config.read_text(), re.S)
        value = block and re.search(r'"LaunchOptions"\t\t"([^"]*)"', block[1])
        return value[1] if value else None


class ProgramTestCase(unittest.TestCase):
    """Starts the program for each test."""

    through = ()  # a command that the program is started through

    def setUp(self):
        self.machine = SampleMachine()
        self.addCleanup(self.machine.close)
        self.prepare()
        self.desktop = self.enterContext(Desktop(real_xrandr=True))
        self.program = self.desktop.start(BUILD / "marrowpulse", self.machine.root, self.through,
                                          stderr=None)
        self.addCleanup(lambda: self.assertIn(self.program.poll(), (None, 0), "the program died"))
        self.app = Application(self.desktop)
        self.app.wait("list", "Games")

    def prepare(self):
        """What is to be changed on the machine before the program starts."""
