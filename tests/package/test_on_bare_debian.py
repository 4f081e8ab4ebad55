# SPDX-License-Identifier: MIT
"""The package's life on a bare Debian system: installed, used for one change, removed.

    test_on_bare_debian.py ROOT

ROOT is the folder of the system; see on-bare-debian.
"""
import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from case import (AMBER_TIDES, CLOSE_STEAM, NOTHING_PENDING, PENDING, RESTART_STEAM, SampleMachine,
                  composed)
from desktop import Application, Desktop, wait_for

ROOT = pathlib.Path(sys.argv.pop(1))


def in_root(*command):
    subprocess.run(["chroot", ROOT, "env", "DEBIAN_FRONTEND=noninteractive", *command], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def started_in_root(machine, *command):
    """The command that runs `command` in the system, on the sample machine's hardware and home."""
    shared = {"/tmp", tempfile.gettempdir(), os.environ["XDG_RUNTIME_DIR"]}
    return ["bwrap", "--bind", str(ROOT), "/", "--dev-bind", "/dev", "/dev", "--bind", "/proc", "/proc",
            "--bind", str(machine.root / "sys"), "/sys",
            *(word for path in sorted(shared) for word in ("--bind", path, path)),
            "--unsetenv", "FONTCONFIG_FILE", "--setenv", "HOME", str(machine.root / "home"),
            "--setenv", "PATH", f"{machine.root}/bin:/usr/bin:/bin", "--chdir", "/", *command]


def snapshot(folder):
    """Every path below a folder with a digest of what it holds."""
    return {str(path): hashlib.sha256(path.read_bytes()).hexdigest()
            if path.is_file() and not path.is_symlink() else "" for path in folder.rglob("*")}


class OnBareDebian(unittest.TestCase):
    def test_it_installs_applies_a_change_and_leaves_nothing_behind(self):
        for tool in ("g++", "gcc", "cmake", "ninja", "xrandr"):
            self.assertFalse((ROOT / "usr/bin" / tool).exists(), tool)
        machine = SampleMachine()
        self.addCleanup(machine.close)
        home = machine.root / "home"
        before = snapshot(home)

        deb, = pathlib.Path(os.environ["MARROWPULSE_DEB_FOLDER"]).glob("*.deb")
        listed = subprocess.run(["dpkg-deb", "--fsys-tarfile", deb], capture_output=True, check=True)
        names = subprocess.run(["tar", "-t"], input=listed.stdout, capture_output=True, check=True)
        files = [ROOT / name for name in names.stdout.decode().split() if not name.endswith("/")]
        self.assertGreater(len(files), 15)
        shutil.copy(deb, ROOT / "tmp/marrowpulse.deb")
        in_root("apt-get", "install", "-y", "--no-install-recommends", "/tmp/marrowpulse.deb")
        (ROOT / "tmp/marrowpulse.deb").unlink()
        self.assertEqual([file for file in files if not file.exists()], [])
        self.assertEqual(snapshot(home), before, "installing touched the home")

        self.apply_one_change(machine)
        # Without xrandr, which is only recommended, the automatic cap is 45.
        self.assertEqual(machine.launch_options(AMBER_TIDES), composed("1920x1080", 45))
        self.assertEqual(len(machine.backups()), 1)

        used = snapshot(home)
        in_root("apt-get", "purge", "-y", "marrowpulse")
        self.assertEqual([file for file in files if file.exists()], [])
        self.assertFalse((ROOT / "usr/share/doc/marrowpulse").exists())
        self.assertEqual(snapshot(home), used, "removing touched the home")

    def apply_one_change(self, machine):
        with Desktop() as desktop:
            client = '"$HOME/.local/share/Steam/ubuntu12_32/steam"'
            program = subprocess.Popen(started_in_root(machine, "sh", "-c",
                                                       f"{client} && exec marrowpulse"),
                                       env={**desktop.environment, "LD_LIBRARY_PATH": ""})
            self.addCleanup(program.wait)
            self.addCleanup(program.kill)
            app = Application(desktop)
            app.wait("list item", "Amber Tides")
            self.check_window(desktop)
            app.tick("Amber Tides")
            app.wait("label", PENDING)
            app.press("Apply")
            app.answer(CLOSE_STEAM, "Yes")
            app.answer(RESTART_STEAM, "No")
            app.wait("label", NOTHING_PENDING)
            desktop.key("alt+F4")
            wait_for(lambda: program.poll() is not None, "the end of the program")
            self.assertEqual(program.returncode, 0)

    def check_window(self, desktop):
        """The desktop takes the window for the menu entry's, and the window has its own icon."""
        properties = desktop.output("xprop", "-name", "Marrowpulse", "WM_CLASS", "_NET_WM_ICON")
        entry = (ROOT / "usr/share/applications/org.marrowpulse.Marrowpulse.desktop").read_text()
        self.assertIn('WM_CLASS(STRING) = "marrowpulse", "Marrowpulse"\n', properties)
        self.assertIn("\nStartupWMClass=Marrowpulse\n", entry)
        self.assertFalse((ROOT / "usr/share/icons/hicolor/index.theme").exists())
        for size in (16, 24, 32, 48, 64, 128):
            self.assertIn(f"Icon ({size} x {size}):", properties)


if __name__ == "__main__":
    unittest.main()
