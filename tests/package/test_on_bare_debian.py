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

from case import CLOSE_STEAM, RESTART_STEAM, SampleMachine
from desktop import Application, Desktop, wait_for

ROOT = pathlib.Path(sys.argv.pop(1))
APPID = "1001010"
# Without xrandr, which is only recommended, the automatic cap is 45.
COMPOSED = (
    "MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 MARROWPULSE_FG_RENDER_RES=1 "
    "marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:164e -w 1280 -h 720 -W 1920 -H 1080 "
    "-F fsr -r 45 -f --force-windows-fullscreen -g -- "
    "env MESA_VK_DEVICE_SELECT=pci-0000_03_00_0 DRI_PRIME=10de:2684 %command%")


def in_root(*command):
    subprocess.run(["chroot", ROOT, "env", "DEBIAN_FRONTEND=noninteractive", *command], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def started_in_root(machine, *command):
    """The command that runs another in the system, with the sample machine's hardware and home."""
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
    def test_installed_used_and_removed(self):
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
        self.assertEqual(machine.launch_options(APPID), COMPOSED)
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
            app.click(app.wait("list item", "Amber Tides"))
            desktop.key("space")
            app.wait("label", "1 game(s) with pending changes. Steam must close briefly to apply.")
            app.click(app.wait("push button", "Apply"))
            app.answer(CLOSE_STEAM, "Yes")
            app.answer(RESTART_STEAM, "No")
            app.wait("label", "No pending changes.")
            desktop.key("alt+F4")
            wait_for(lambda: program.poll() is not None, "the end of the program")
            self.assertEqual(program.returncode, 0)

    def check_window(self, desktop):
        """The desktop knows the window as the menu entry's, and it has an icon without any theme."""
        properties = desktop.output("xprop", "-name", "Marrowpulse", "WM_CLASS", "_NET_WM_ICON")
        entry = (ROOT / "usr/share/applications/org.marrowpulse.Marrowpulse.desktop").read_text()
        self.assertIn('WM_CLASS(STRING) = "marrowpulse", "Marrowpulse"\n', properties)
        self.assertIn("\nStartupWMClass=Marrowpulse\n", entry)
        self.assertFalse((ROOT / "usr/share/icons/hicolor/index.theme").exists())
        for size in (16, 24, 32, 48, 64, 128):
            self.assertIn(f"Icon ({size} x {size}):", properties)


if __name__ == "__main__":
    unittest.main()
