# SPDX-License-Identifier: MIT
"""The Debian package, as it lies in its file."""
import collections
import os
import pathlib
import subprocess
import tempfile
import unittest

from releases import DAY, VERSION, validator_wants_a_homepage

BUILD = pathlib.Path(os.environ["MARROWPULSE_BUILD"])


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

    def test_what_apt_says_of_it(self):
        for name, value in {
                "Package": "marrowpulse",
                "Version": VERSION,
                "Section": "contrib/utils",  # a tool that needs what Debian does not have
                "Recommends": "qt6-wayland, x11-xserver-utils, pci.ids | hwdata",
                # for the icon of "Advanced"
                "Suggests": "adwaita-icon-theme | breeze-icon-theme, qt6-svg-plugins | libqt6svg6",
        }.items():
            with self.subTest(name):
                self.assertEqual(self.field(name), value)

    def test_dependencies_are_the_libraries_that_it_links(self):
        # Debian adds t64 to the names of libraries that it rebuilt for 64 bits of time.
        names = {dependency.split()[0].removesuffix("t64")
                 for dependency in self.field("Depends").split(", ")}
        self.assertEqual(names, {"libc6", "libqt6core6", "libqt6gui6", "libqt6widgets6", "libstdc++6"})

    def test_packing_fails_where_the_dependencies_cannot_be_found_out(self):
        with tempfile.TemporaryDirectory(prefix="marrowpulse-deb.") as folder:
            packing = subprocess.run(
                ["bwrap", "--dev-bind", "/", "/", "--ro-bind", "/dev/null", "/usr/bin/dpkg-shlibdeps",
                 "cpack", "-G", "DEB", "-B", folder, "--config", BUILD / "CPackConfig.cmake"],
                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
            self.assertNotEqual(packing.returncode, 0)
            self.assertIn("dpkg-dev", packing.stderr)
            self.assertEqual(list(pathlib.Path(folder).glob("*.deb")), [])

    def test_anybody_who_packs_it_again_gets_the_same_bytes(self):
        with tempfile.TemporaryDirectory(prefix="marrowpulse-deb.") as folder:
            subprocess.run(["cpack", "-G", "DEB", "-B", folder, "--config", BUILD / "CPackConfig.cmake"],
                           check=True, stdout=subprocess.DEVNULL, umask=0o077)
            again, = pathlib.Path(folder).glob("*.deb")
            self.assertEqual(again.read_bytes(), self.deb.read_bytes())
            listed = subprocess.run(["dpkg-deb", "--contents", again], capture_output=True, text=True,
                                    check=True).stdout
        modes = collections.defaultdict(set)
        for line in listed.splitlines():
            mode, owner, *_, path = line.split()
            modes[mode, owner].add(path if mode == "-rwxr-xr-x" else path[-1] == "/")
        self.assertEqual(modes, {("drwxr-xr-x", "root/root"): {True}, ("-rw-r--r--", "root/root"): {False},
                                 ("-rwxr-xr-x", "root/root"): {"./usr/bin/marrowpulse"}})

    def test_it_has_the_manual_page_the_licence_and_the_changelog(self):
        self.assertIn(f'"Marrowpulse {VERSION}"', self.content("usr/share/man/man1/marrowpulse.1.gz"))
        self.assertTrue(self.content("usr/share/doc/marrowpulse/copyright").startswith("MIT License\n"))
        changelog = self.content("usr/share/doc/marrowpulse/changelog.gz")
        self.assertTrue(changelog.startswith(f"marrowpulse ({VERSION}) unstable; urgency=medium\n"))
        self.assertRegex(changelog, rf"  \w{{3}}, {DAY:%d %b %Y} 00:00:00 \+0000\n$")

    def test_lintian_finds_no_error_or_warning(self):
        lintian = subprocess.run(["lintian", "--allow-root", self.deb], capture_output=True, text=True,
                                 check=True)
        homepage = ('W: marrowpulse: appstream-metadata-validation-failed '
                    'Problems reported by "appstreamcli validate-tree".\n')
        self.assertEqual(lintian.stdout, homepage if validator_wants_a_homepage() else "")


if __name__ == "__main__":
    unittest.main()
