# SPDX-License-Identifier: MIT
"""What the end-to-end tests share: the program on a fresh sample machine on a desktop of its own."""
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest

from desktop import Application, Desktop, wait_for

BUILD = pathlib.Path(os.environ["MARROWPULSE_BUILD"])

CLOSE_STEAM = ("Steam stores launch options in a file it rewrites on exit, so it must be closed to "
               "apply changes.\n\nClose Steam now? (It will be restarted afterwards.)")
RESTART_STEAM = "Changes applied. Restart Steam now?"


class SampleMachine:
    """The sample machine in a temporary folder; its Steam client is started with the program."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="marrowpulse-sample.")
        self.root = pathlib.Path(self.folder.name)
        subprocess.run([BUILD / "sample-machine", self.root], check=True)
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
        self.start_program()

    def prepare(self):
        """What is to be changed on the machine before the program starts."""

    def start_program(self):
        self.program = self.desktop.start(BUILD / "marrowpulse", self.machine.root, self.through,
                                          stderr=None)
        self.addCleanup(lambda: self.assertIn(self.program.poll(), (None, 0), "the program died"))
        self.app = Application(self.desktop)
        self.app.wait("list item", "Amber Tides")

    def status_is(self, text):
        wait_for(lambda: self.app.find("label", text), f"the status {text!r}")
