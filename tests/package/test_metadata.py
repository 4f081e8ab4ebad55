# SPDX-License-Identifier: MIT
"""The desktop entry and the metainfo, by the validators and by what they say."""
import os
import pathlib
import subprocess
import unittest
import xml.etree.ElementTree as ElementTree

from releases import RELEASES, validator_wants_a_homepage

DESKTOP = (pathlib.Path(__file__).resolve().parents[2] / "packaging/org.marrowpulse.Marrowpulse.desktop")
METAINFO = (pathlib.Path(os.environ["MARROWPULSE_BUILD"])
            / "packaging/org.marrowpulse.Marrowpulse.metainfo.xml")


def output(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False)
    return done.returncode, done.stdout


class Metadata(unittest.TestCase):
    def test_the_validator_finds_nothing_in_the_desktop_entry(self):
        self.assertEqual(output("desktop-file-validate", DESKTOP), (0, ""))

    def test_the_validator_finds_only_what_is_meant_in_the_metainfo(self):
        _, text = output("appstreamcli", "validate", "--no-net", "--pedantic", "--no-color", METAINFO)
        issues = {tuple(line.split()[0::2]) for line in text.splitlines()
                  if line[:2] in ("E:", "W:", "I:", "P:")}
        # The metainfo names the developer twice: older readers know one tag, newer ones the other.
        expected = {("P:", "cid-contains-uppercase-letter")}
        if validator_wants_a_homepage():
            expected |= {("I:", "developer-name-tag-deprecated"), ("W:", "url-homepage-missing")}
        else:
            expected |= {("I:", "unknown-tag", )}
        self.assertEqual(issues, expected, text)

    def test_software_centres_show_every_release_of_the_change_log(self):
        releases = ElementTree.parse(METAINFO).getroot().findall("releases/release")
        self.assertEqual([(release.get("version"), release.get("date")) for release in releases],
                         [(version, str(day)) for version, day in RELEASES])

    def test_the_menu_has_it_among_the_games_and_starts_the_program(self):
        lines = DESKTOP.read_text().splitlines()
        for line in ("Name=Marrowpulse", "Exec=marrowpulse", "Icon=org.marrowpulse.Marrowpulse",
                     "Categories=Game;Qt;", "Terminal=false"):
            self.assertIn(line, lines)

    def test_software_centres_show_name_licence_and_developers(self):
        component = ElementTree.parse(METAINFO).getroot()
        for path, text in (("id", "org.marrowpulse.Marrowpulse"),
                           ("name", "Marrowpulse"),
                           ("summary", "Run Steam games in gamescope with upscaling and frame generation"),
                           ("developer_name", "The Marrowpulse developers"),
                           ("developer/name", "The Marrowpulse developers"),
                           ("project_license", "MIT"),
                           ("launchable[@type='desktop-id']", "org.marrowpulse.Marrowpulse.desktop"),
                           ("provides/binary", "marrowpulse")):
            self.assertEqual(component.findtext(path), text)
        self.assertEqual(component.find("content_rating").attrib, {"type": "oars-1.1"})
        self.assertEqual([color.get("scheme_preference") for color in component.findall("branding/color")],
                         ["light", "dark"])
        self.assertGreater(len(component.findall("releases/release/description//li")), 0)


if __name__ == "__main__":
    unittest.main()
