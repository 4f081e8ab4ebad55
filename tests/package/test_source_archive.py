# SPDX-License-Identifier: MIT
"""The archive of the sources, made of a clone."""
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
    def setUp(self):
        self.clone = self.folder() / "clone"
        subprocess.run(["git", "clone", "--quiet", "--no-tags", SOURCES, self.clone], check=True)

    def folder(self):
        folder = tempfile.TemporaryDirectory(prefix="marrowpulse-source.")
        self.addCleanup(folder.cleanup)
        return pathlib.Path(folder.name)

    def git(self, *command):
        return subprocess.run(["git", "-C", self.clone, *command], capture_output=True, text=True,
                              check=True).stdout

    def pack(self):
        """The name of the archive, without what it ends in, and its members."""
        folder = self.folder()
        subprocess.run(["cpack", "--config", CONFIG, "-D", f"CPACK_MARROWPULSE_SOURCES={self.clone}",
                        "-G", "TGZ", "-B", folder], check=True, stdout=subprocess.DEVNULL, umask=0o077)
        path, = folder.glob("*.tar.gz")
        with tarfile.open(path) as archive:
            return path.name.removesuffix(".tar.gz"), archive.getmembers()

    def test_holds_what_git_tracks_and_nothing_else(self):
        name, members = self.pack()
        tracked = self.git("ls-tree", "-r", "--name-only", "HEAD").splitlines()
        self.assertEqual(sorted(member.name for member in members if not member.isdir()),
                         sorted(f"{name}/{path}" for path in tracked))

    def test_everybody_may_read_it(self):
        modes = {(member.isdir(), member.mode & 0o7777) for member in self.pack()[1]}
        self.assertEqual(modes, {(True, 0o755), (False, 0o644), (False, 0o755)})

    def test_is_named_by_the_release_or_by_the_commit(self):
        commit = self.git("rev-parse", "HEAD")[:12]
        self.assertEqual(self.pack()[0], f"marrowpulse-{VERSION}-g{commit}")
        self.git("tag", "v0.0.1")
        self.assertEqual(self.pack()[0], f"marrowpulse-{VERSION}-g{commit}")
        self.git("-c", "user.name=X", "-c", "user.email=x@example.org", "tag", "-a", "-m", "release",
                 f"v{VERSION}")
        self.assertEqual(self.pack()[0], f"marrowpulse-{VERSION}")


if __name__ == "__main__":
    unittest.main()
