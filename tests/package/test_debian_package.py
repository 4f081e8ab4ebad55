# SPDX-License-Identifier: MIT
"""The Debian package, as it lies in its file."""
import os
import pathlib
import subprocess
import unittest


class DebianPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.deb, = pathlib.Path(os.environ["MARROWPULSE_DEB_FOLDER"]).glob("*.deb")

    def field(self, name):
        return subprocess.run(["dpkg-deb", "--field", self.deb, name], capture_output=True, text=True,
                              check=True).stdout.strip()

    def content(self, path):
        """A file of the package, unpacked when it is compressed."""
        package = subprocess.run(["dpkg-deb", "--fsys-tarfile", self.deb], capture_output=True, check=True)
        packed = subprocess.run(["tar", "-xO", f"./{path}"], input=package.stdout, capture_output=True,
                                check=True).stdout
        return subprocess.run(["gzip", "-cdf"], input=packed, capture_output=True, check=True).stdout.decode()

    def test_name_and_version(self):
        self.assertEqual([self.field("Package"), self.field("Version")], ["marrowpulse", "1.0.0"])

    def test_dependencies_are_the_libraries_that_it_links(self):
        names = {dependency.split()[0] for dependency in self.field("Depends").split(", ")}
        self.assertEqual(names, {"libc6", "libqt6core6", "libqt6gui6", "libqt6widgets6", "libstdc++6"})

    def test_recommends_xrandr_and_the_names_of_gpus(self):
        self.assertEqual(self.field("Recommends"), "x11-xserver-utils, pci.ids | hwdata")

    def test_manual_page_copyright_and_changelog(self):
        self.assertIn('"Marrowpulse 1.0.0"', self.content("usr/share/man/man1/marrowpulse.1.gz"))
        self.assertTrue(self.content("usr/share/doc/marrowpulse/copyright").startswith("MIT License\n"))
        changelog = self.content("usr/share/doc/marrowpulse/changelog.gz")
        self.assertTrue(changelog.startswith("marrowpulse (1.0.0) unstable; urgency=medium\n"))
        self.assertTrue(changelog.endswith("  Sat, 21 Nov 2026 00:00:00 +0000\n"))

    def test_lintian_finds_no_error_or_warning(self):
        lintian = subprocess.run(["lintian", "--allow-root", "--fail-on", "error,warning", self.deb],
                                 capture_output=True, text=True, check=False)
        self.assertEqual((lintian.returncode, lintian.stdout), (0, ""))


if __name__ == "__main__":
    unittest.main()
