# SPDX-License-Identifier: MIT
"""Runs all measurements in turn, several rounds of each, and prints one table of ratios.

    on-desktop-bus run.py RELEASE-BUILD O2-BUILD [--rounds N] [--write]

What a ratio compares is measured close together in every round, so that the machine's moods fall on
both sides; the median of these ratios counts. With --write the table and the picture of
docs/performance.md are renewed. Exits 1 when a bound is missed.
"""
import argparse
import collections
import pathlib
import re
import statistics
import sys
import tempfile

from machines import Machine
from picture import draw
from program import EMPTY_WINDOW, PROGRAM, SLOW_DISK, Player, Run, Screen
from report import PICTURE, Report

SIZES = (250, 500, 1000, 2000)  # games
APPLIED = (250, 300, 500, 1000, 2000)
WINDOWS = (0, 150, 1000)
MACHINES = (0, 50, 150, 250, 300, 500, 1000, 2000, 4000, 8000)
SLOW = 50
SHORT = 5  # measurements of what is short, in every round
SHAPES = ("one section", "three sections", "one id twice", "an id in a block")


def shapes_of(content):
    """A file with three "apps" sections in each of the shapes. In the one with one section, the keys
    of the two that hold Steam's own switches have other letters."""
    game, appid = re.search(rb'(\n\t{5}("\d+")\n.*?\n\t{5}})', content, re.DOTALL).groups()
    end = b"\n\t\t\t\t\t}\n\t\t\t\t}"  # of the last game's block and of the section
    return (re.sub(rb'(\n\t\t?)"apps"\n', rb'\1"sppa"\n', content), content,
            content.replace(game, game * 2), content.replace(end, b"\n" + appid + b"{}" + end))


class Bench:
    """The machines, and what was measured on them: times in milliseconds, by name and games."""

    def __init__(self, folder, builds):
        self.builds = dict(zip(("", ", -O2"), builds))
        self.build = builds[0]
        self.samples = collections.defaultdict(list)
        self.machines = {games: self.new_machine(folder, f"{games}", games, max(8600, games * 36))
                         for games in MACHINES}
        self.shapes = {shape: self.new_machine(folder, shape, 1000, 36000) for shape in SHAPES}
        for machine, content in zip(self.shapes.values(), shapes_of(self.machines[1000].content)):
            machine.replace_content(content)
        # Two files of 2 MB with the same 150 games: one has many friends, in the other many sections
        # that never close come first.
        self.ordinary = self.new_machine(folder, "ordinary", 150, 18300)
        self.unclosed = self.new_machine(folder, "unclosed", 150, 0)
        opening = b'"apps"{'
        missing = len(self.ordinary.content) - len(self.unclosed.content)
        self.unclosed.replace_content(opening * (missing // len(opening)) + self.unclosed.content)

    def new_machine(self, folder, name, games, friends):
        return Machine(self.build, pathlib.Path(folder, name), games, friends)

    def note(self, name, games, value):
        self.samples[name, games].append(value)

    def median(self, name, games):
        return statistics.median(self.samples[name, games])

    def note_inner(self, pattern, machine, builds=("", ", -O2")):
        for kind in builds:
            for name, games, value in machine.inner(self.builds[kind], pattern):
                self.note(name + kind, games, value)

    def measure_files(self, games):
        """Reading and editing the file of one machine, by the program's functions and the peers."""
        if games not in {150, *APPLIED}:
            return
        machine = self.machines[games]
        self.note_inner(f"readAllGames/{games}/", machine)
        for peer in ("node", "python"):
            parse, edits = machine.peer(peer, 1, games)
            self.note(peer, games, parse)
            self.note(f"{peer} edit of one", games, edits[1])
            self.note(f"{peer} edit of all", games, edits[games])

    def measure_applies(self, player, games):
        """Apply on one machine."""
        def apply(name, change, changed, through=(), machine=self.machines[games]):
            self.note(name, games, statistics.median(player.time_apply(machine, change, changed, through)
                                                     for _ in range(3)))  # as many as of a peer's

        if games in {SLOW, *APPLIED}:
            apply("apply all", player.change_all_games, games)
        if games == SLOW:
            apply("apply all, slow disk", player.change_all_games, games, SLOW_DISK)
        if games == 1000:
            apply("apply one", player.change_one_game, 1)
            for shape, machine in [*self.shapes.items()] * 2:
                apply(shape, player.change_all_games, games, machine=machine)
            self.note("keystroke", games, player.keystroke_cpu(self.machines[games]))

    def measure_starts(self, screen):
        def start(name, games, machine, program=PROGRAM):
            with Run(screen, self.build, machine, program) as run:
                self.note(name, games, run.started_ms)
                self.note(f"{name}, peak", games, run.peak_kib())

        for _ in range(SHORT):
            start("empty window", 0, self.machines[0], EMPTY_WINDOW)
            for games in WINDOWS:
                start("window", games, self.machines[games])
            start("ordinary", 150, self.ordinary)
            start("unclosed", 150, self.unclosed)
            self.note("xrandr", 0, screen.timed_xrandr())

    def measure(self, rounds):
        with Screen() as screen:
            player = Player(screen, self.build, self.machines[1000])
            for number in range(rounds):
                print(f"round {number + 1} of {rounds}", file=sys.stderr)
                for games in self.machines:
                    self.measure_files(games)
                    self.measure_applies(player, games)
                for _ in range(SHORT):
                    # All sizes in a row, since they are compared.
                    self.note_inner("^scan/", self.machines[1000])
                    self.note_inner("-^(scan|readAllGames)/", self.machines[1000], [""])
                self.measure_starts(screen)


def add_bounds(report, bench):
    def times(name, games):
        return bench.samples[name, games]

    for kind in bench.builds:
        report.ratio(f"all options of 1,000 games{kind} / one parse by @node-steam/vdf",
                     times(f"readAllGames{kind}", 1000), times("node", 1000), 0.15)
    report.ratio("all options of 1,000 games / one parse by python3-vdf", times("readAllGames", 1000),
                 times("python", 1000), 0.6)
    report.ratio("all options of 150 games / one parse by @node-steam/vdf", times("readAllGames", 150),
                 times("node", 150), 0.7)
    for kind in bench.builds:
        add_growth(report, bench, f"scan{kind}", 2.3)

    xrandr = bench.median("xrandr", 0)  # is the system's own time

    def starts(name, games):
        return [time - xrandr for time in times(name, games)]

    report.ratio("start with 2 MB of unclosed sections / with an ordinary file of 2 MB",
                 starts("unclosed", 150), starts("ordinary", 150), 1.5)
    for games, bound in zip(SIZES, (0.8, 0.55, 0.55, 0.55)):
        report.ratio(f"Apply of all of {games:,} games / the same edit by @node-steam/vdf",
                     times("apply all", games), times("node edit of all", games), bound)
    for shape in SHAPES[1:]:
        report.ratio(f"Apply of 1,000 games, file with {shape} / with {SHAPES[0]}", times(shape, 1000),
                     times(SHAPES[0], 1000), 1.2)
    for games in (300, 1000):
        report.ratio(f"Apply of {games:,} changed games / the same edit by python3-vdf",
                     times("apply all", games), times("python edit of all", games), 1.0)
    report.ratio("Apply of one game of 1,000 / the same edit by python3-vdf", times("apply one", 1000),
                 times("python edit of one", 1000), 0.15)
    report.ratio("one edit / writing and syncing the file", times("editOneGame", 1000),
                 times("writeAndSync", 1000), 4)
    report.ratio("one edit / one edit by python3-vdf", times("editOneGame", 1000)[::SHORT],
                 times("python edit of one", 1000), 0.25)
    report.bounded("one keystroke, 1,000 games enabled (ms)", bench.median("keystroke", 1000), 16,
                   "CPU time of the program")

    empty = times("empty window", 0)
    report.ratio("window without a game / an empty window", starts("window", 0), empty, 2.2)
    report.ratio("window with 150 games / without a game", starts("window", 150), starts("window", 0), 1.25)
    report.ratio("window with 1,000 games / an empty window", starts("window", 1000), empty, 3.5)
    peak, least = (bench.median(f"{name}, peak", games) / 1024
                   for name, games in (("window", 1000), ("empty window", 0)))
    report.bounded("peak memory above the empty window's, 1,000 games (MB)", peak - least, 25,
                   f"{peak:.1f} MB / {least:.1f} MB")
    for name in ("editOneGame", "recount", "list"):
        add_growth(report, bench, name, 2.4)
    for shape in SHAPES[:2]:
        add_mean_growth(report, bench, f"editLaunchOptions/{shape}", 2.2)


def add_growth(report, bench, name, bound):
    sizes = sorted(games for measured, games in bench.samples if measured == name)
    for less, more in zip(sizes, sizes[1:]):
        report.ratio(f"{name}, {more:,} games / {less:,}", bench.samples[name, more],
                     bench.samples[name, less], bound)


def add_mean_growth(report, bench, name, bound):
    """The growth per doubling, from the least size to the largest."""
    sizes = sorted(games for measured, games in bench.samples if measured == name)
    times = [bench.median(name, games) for games in sizes]
    report.bounded(f"{name.replace('/', ', ')}, per doubling from {sizes[0]:,} to {sizes[-1]:,} games",
                   (times[-1] / times[0]) ** (1 / (len(times) - 1)), bound,
                   f"{', '.join(f'{time:.2f}' for time in times)} ms")


def add_times(report, bench, title, columns, sizes):
    """A table without bounds: a column for each name, by title."""
    report.table(title, *columns)
    for games in sizes:
        report.row(f"{games:,}", *(f"{bench.median(name, games):.2f}" for name in columns.values()))


def report_of(bench, rounds):
    report = Report()
    report.conditions(list(bench.builds.values()))
    report.line(f"- Rounds: {rounds}, of which medians are taken; the file with 1,000 games has "
                f"{len(bench.machines[1000].content) / 1e6:.1f} MB, with 150 "
                f"{len(bench.machines[150].content) / 1e6:.1f} MB")
    report.table("work", "measured", "at most", "detail", "reached")
    add_bounds(report, bench)
    report.line()
    report.line(f"Apply of {SLOW} changed games: {bench.median('apply all', SLOW):.0f} ms; on a disk "
                f"whose sync takes 40 ms: {bench.median('apply all, slow disk', SLOW):.0f} ms. "
                f"xrandr itself: {bench.median('xrandr', 0):.1f} ms.")
    report.line()
    report.line("In milliseconds, by games in the library:")
    add_times(report, bench, "options of all games",
              {"Marrowpulse": "readAllGames", "Marrowpulse, -O2": "readAllGames, -O2",
               "one parse by @node-steam/vdf": "node", "by python3-vdf": "python"}, SIZES)
    add_times(report, bench, "all games changed",
              {"Apply": "apply all", "edit by @node-steam/vdf": "node edit of all",
               "by python3-vdf": "python edit of all"}, APPLIED)
    if report.missed:
        report.line()
        report.line(f"Missed: {'; '.join(report.missed)}.")
    return report


def draw_picture(bench):
    def curves(**names):
        return {name: [bench.median(key, games) for games in SIZES]
                for name, key in zip(("Marrowpulse", "@node-steam/vdf", "python3-vdf"), names.values())}

    draw(PICTURE, SIZES, {
        "Reading every game's launch options":
            curves(ours="readAllGames", node="node", python="python"),
        "Changing all of them and saving the file":
            curves(ours="apply all", node="node edit of all", python="python edit of all")})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("builds", nargs=2, type=lambda name: pathlib.Path(name).resolve())
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--write", action="store_true")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="marrowpulse-bench.") as folder:
        bench = Bench(folder, arguments.builds)
        bench.measure(arguments.rounds)
    report = report_of(bench, arguments.rounds)
    print(report.text())
    if arguments.write:
        report.write_to_document()
        draw_picture(bench)
    return 1 if report.missed else 0


if __name__ == "__main__":
    sys.exit(main())
