# SPDX-License-Identifier: MIT
"""Builds, runs and packs the program in a folder with an odd name."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SOURCES = pathlib.Path(__file__).resolve().parents[2]


class AnyFolder(unittest.TestCase):
    def test_a_folder_with_a_blank_an_apostrophe_and_an_umlaut(self):
        temporary = tempfile.TemporaryDirectory(prefix="marrowpulse-folder.")
        self.addCleanup(temporary.cleanup)
        folder = pathlib.Path(temporary.name, "my games' öl")
        shutil.copytree(SOURCES, folder, ignore=shutil.ignore_patterns("build*", ".git", "node_modules"))
        for command in (["script/run"], ["cpack", "-G", "DEB", "--config", "build/CPackConfig.cmake"]):
            with self.subTest(command):
                done = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                      text=True, check=False,
                                      env={**os.environ, "CMAKE_BUILD_TYPE": "None"})  # builds faster
                self.assertEqual(done.returncode, 0, done.stdout)


if __name__ == "__main__":
    unittest.main()
