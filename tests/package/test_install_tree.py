# SPDX-License-Identifier: MIT
"""What cmake --install puts where."""
import os
import pathlib
import struct
import subprocess
import tempfile
import unittest

from releases import DAY, VERSION

SOURCES = pathlib.Path(__file__).resolve().parents[2]
ICON = "share/icons/hicolor/%s/apps/org.marrowpulse.Marrowpulse.%s"
SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)
FILES = {
    "bin/marrowpulse": 0o755,
    "share/applications/org.marrowpulse.Marrowpulse.desktop": 0o644,
    "share/metainfo/org.marrowpulse.Marrowpulse.metainfo.xml": 0o644,
    ICON % ("scalable", "svg"): 0o644,
    **{ICON % (f"{size}x{size}", "png"): 0o644 for size in SIZES},
    "share/man/man1/marrowpulse.1": 0o644,
    "share/doc/marrowpulse/CHANGELOG.md": 0o644,
    "share/doc/marrowpulse/user-guide.md": 0o644,
    "share/doc/marrowpulse/launch-options.md": 0o644,
    "share/doc/marrowpulse/images/main-window.png": 0o644,
    "share/doc/marrowpulse/images/advanced.png": 0o644,
    "share/doc/marrowpulse/images/close-steam.png": 0o644,
    "share/doc/marrowpulse/images/restart-steam.png": 0o644,
}


class InstallTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="marrowpulse-install.")
        cls.addClassCleanup(folder.cleanup)
        cls.prefix = pathlib.Path(folder.name) / "usr"
        # A user whose own files nobody else may read installs for everybody.
        subprocess.run(["cmake", "--install", os.environ["MARROWPULSE_BUILD"], "--prefix", cls.prefix],
                       check=True, stdout=subprocess.DEVNULL, umask=0o077)

    def test_exactly_these_files_are_installed_for_everybody_to_read(self):
        installed = {str(path.relative_to(self.prefix)): path.stat().st_mode & 0o7777
                     for path in self.prefix.rglob("*") if not path.is_dir()}
        self.assertEqual(installed, FILES)

    def test_everybody_may_enter_every_folder(self):
        folders = [self.prefix, *(path for path in self.prefix.rglob("*") if path.is_dir())]
        self.assertEqual([path for path in folders if path.stat().st_mode & 0o7777 != 0o755], [])

    def test_the_program_holds_no_path_of_the_builder(self):
        program = (self.prefix / "bin/marrowpulse").read_bytes()
        for folder in (SOURCES, os.environ["MARROWPULSE_BUILD"]):
            self.assertNotIn(str(folder).encode(), program)

    def test_each_icon_has_the_size_of_its_folder(self):
        for size in SIZES:
            head = (self.prefix / (ICON % (f"{size}x{size}", "png"))).read_bytes()[:24]
            self.assertEqual((head[:8], struct.unpack(">II", head[16:])),
                             (b"\x89PNG\r\n\x1a\n", (size, size)))

    def test_manual_page_has_the_version_and_no_fault(self):
        page = self.prefix / "share/man/man1/marrowpulse.1"
        day = DAY.isoformat().replace("-", "\\-")
        self.assertIn(f'.TH MARROWPULSE 1 {day} "Marrowpulse {VERSION}" "User Commands"',
                      page.read_text().splitlines())
        man = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", page], capture_output=True,
                             text=True, check=True, env={**os.environ, "MANWIDTH": "80"})
        self.assertEqual(man.stderr, "")
        self.assertIn("MARROWPULSE_GAMESCOPE_PREFIX", man.stdout)

    def test_the_user_guides_links_lead_to_installed_files(self):
        doc = self.prefix / "share/doc/marrowpulse"
        subprocess.run([SOURCES / "docs/check-links",
                        doc / "user-guide.md", doc / "launch-options.md"], check=True)


if __name__ == "__main__":
    unittest.main()
