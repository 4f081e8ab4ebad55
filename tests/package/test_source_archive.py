# SPDX-License-Identifier: MIT
"""The archive of the sources."""
import os
import pathlib
import subprocess
import tarfile
import tempfile
import unittest

from releases import VERSION

SOURCES = pathlib.Path(__file__).resolve().parents[2]
CONFIG = pathlib.Path(os.environ["MARROWPULSE_BUILD"]) / "CPackSourceConfig.cmake"


class SourceArchive(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="marrowpulse-source.")
        cls.addClassCleanup(folder.cleanup)
        subprocess.run(["cpack", "--config", CONFIG, "-G", "TGZ", "-B", folder.name], check=True,
                       stdout=subprocess.DEVNULL, umask=0o077)
        archive = cls.enterClassContext(tarfile.open(pathlib.Path(folder.name, f"marrowpulse-{VERSION}.tar.gz")))
        cls.members = archive.getmembers()

    def test_holds_what_git_tracks_and_nothing_else(self):
        tracked = subprocess.run(["git", "ls-tree", "-r", "--name-only", "HEAD"], cwd=SOURCES,
                                 capture_output=True, text=True, check=True).stdout.splitlines()
        self.assertEqual(sorted(member.name for member in self.members if not member.isdir()),
                         sorted(f"marrowpulse-{VERSION}/{path}" for path in tracked))

    def test_everybody_may_read_it(self):
        modes = {(member.isdir(), member.mode & 0o7777) for member in self.members}
        self.assertEqual(modes, {(True, 0o755), (False, 0o644), (False, 0o755)})


if __name__ == "__main__":
    unittest.main()
