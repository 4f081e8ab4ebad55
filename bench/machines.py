# SPDX-License-Identifier: MIT
"""Machines to measure on, and what is measured there without a screen. All times are milliseconds."""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tests/end-to-end"))
from desktop import ON_MACHINE  # noqa: E402

PYTHON = "/usr/bin/python3"


def output(*command, **options):
    return subprocess.run([str(part) for part in command], check=True, capture_output=True, text=True,
                          **options).stdout


def found(pattern, path):
    """Group 1 of the first match of a pattern in a file."""
    return re.search(pattern, pathlib.Path(path).read_text())[1]


class Machine:
    """A machine with a number of games; its localconfig.vdf grows with the friends."""

    def __init__(self, build, root, games, friends):
        self.root = pathlib.Path(root)
        self.games = games
        output(build / "bench_machine", self.root, games, friends)
        self.vdf = next(self.root.glob("home/.local/share/Steam/userdata/*/config/localconfig.vdf"))
        self.content = self.vdf.read_bytes()

    def replace_content(self, content):
        self.content = content
        self.restore()

    def restore(self):
        """Undoes a measurement, so that each finds the same machine."""
        shutil.rmtree(self.root / "home/.config/Marrowpulse", ignore_errors=True)
        for left in self.vdf.parent.glob(self.vdf.name + ".*"):
            left.unlink()
        if self.vdf.read_bytes() != self.content:
            with open(self.vdf, "wb") as file:
                file.write(self.content)
                os.fsync(file.fileno())

    def changed_lines(self):
        """How many lines of localconfig.vdf have changed."""
        before, after = self.content.splitlines(), self.vdf.read_bytes().splitlines()
        if len(before) != len(after):
            raise AssertionError("the file has another number of lines")
        return sum(old != new for old, new in zip(before, after))

    def inner(self, build, pattern):
        """Measures the inner functions of a build whose names match: name, games and time of each."""
        self.restore()
        report = json.loads(output(
            ON_MACHINE, self.root, build / "bench_inner", f"--benchmark_filter={pattern}",
            "--benchmark_min_time=0.2", "--benchmark_format=json"))
        for run in report["benchmarks"]:
            # A name with a rest, such as editOneGame/250/real_time, is not measured in CPU time.
            name, games, rest = re.fullmatch(r"(.+?)/(\d+)(/.*)?", run["name"]).groups("")
            yield name, int(games), run["real_time" if rest else "cpu_time"] / 1e6

    def peer(self, name, *counts):
        """Measures a peer on the file: the times of a parse, and of an edit of each number of games."""
        self.restore()
        command = {"node": ["node", HERE / "peers/peer.js"],
                   "python": [PYTHON, HERE / "peers/peer.py"]}[name]
        result = json.loads(output(*command, self.vdf, *counts))
        return result["parse"], {int(count): time for count, time in result["edit"].items()}
