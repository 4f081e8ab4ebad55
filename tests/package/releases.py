# SPDX-License-Identifier: MIT
"""What the change log says of the releases, the newest first."""
import datetime
import pathlib
import re
import subprocess

CHANGELOG = pathlib.Path(__file__).resolve().parents[2] / "CHANGELOG.md"
RELEASES = [(version, datetime.date.fromisoformat(day)) for version, day
            in re.findall(r"^## \[(\d+\.\d+\.\d+)\] - (\S+)$", CHANGELOG.read_text(), re.M)]
VERSION, DAY = RELEASES[0]


def validator_wants_a_homepage():
    """AppStream 1.0 does; Marrowpulse has none."""
    version = subprocess.run(["appstreamcli", "--version"], capture_output=True, text=True, check=True).stdout
    return int(re.search(r"\d+", version)[0]) >= 1
