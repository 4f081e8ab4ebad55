# SPDX-License-Identifier: MIT
"""Runs all measurements in turn, several rounds of each, and prints one table of ratios.

    on-desktop-bus run.py BUILD-FOLDER

Every ratio is of medians taken within this run. Exits 1 when a bound is missed.
"""
import json
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import tempfile
import time

from Xlib import X, display as xdisplay

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tests/end-to-end"))
from desktop import ON_MACHINE, Desktop  # noqa: E402

ROUNDS = 5
BUILD = pathlib.Path(sys.argv[1]).resolve()
PYTHON = "/usr/bin/python3"


def output(*command, **options):
    return subprocess.run([str(part) for part in command], check=True, capture_output=True, text=True,
                          **options).stdout


class Machine:
    """A machine with a number of games; its localconfig.vdf grows with the friends."""

    def __init__(self, folder, games, friends):
        self.root = pathlib.Path(folder, f"{games}-games")
        output(BUILD / "bench_machine", self.root, games, friends)
        self.vdf = next(self.root.glob("home/.local/share/Steam/userdata/*/config/localconfig.vdf"))

    def inner(self, names):
        """One round of inner functions: milliseconds by name."""
        report = json.loads(output(
            ON_MACHINE, self.root, BUILD / "bench_inner", f"--benchmark_filter=^({'|'.join(names)})(/|$)",
            "--benchmark_min_time=0.2", "--benchmark_format=json",
            env={**os.environ, "QT_QPA_PLATFORM": "offscreen"}))
        return {run["name"].split("/")[0]: run["real_time"] / 1e6 for run in report["benchmarks"]
                if run.get("aggregate_name", "median") == "median"}


def medians(rounds):
    return {key: statistics.median(values[key] for values in rounds) for key in rounds[0]}


def peers(machine):
    """Milliseconds of the peers on the machine's file: node's parse, Python's parse and edit."""
    node = float(output("node", HERE / "peers/parse.js", machine.vdf))
    python = [float(line) for line in output(PYTHON, HERE / "peers/parse.py", machine.vdf).split()]
    return {"node": node, "python": python[0], "python edit": python[1]}


class Screen:
    """Looks at the pixels of a display."""

    def __init__(self, desktop):
        self.display = xdisplay.Display(desktop.environment["DISPLAY"])
        self.root = self.display.screen().root

    def is_painted(self):
        # A window stands somewhere on the screen; without one these points are all black.
        return any(any(self.root.get_image(x, y, 1, 1, X.ZPixmap, 0xFFFFFF).data[:3])
                   for x, y in ((640, 512), (450, 310)))

    def windows(self):
        """How many windows of the program are on the screen."""
        return sum(1 for window in self.root.query_tree().children
                   if window.get_attributes().map_state == X.IsViewable
                   and window.get_geometry().width > 1)


def poll(condition, seconds=30):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError("waited in vain")
        time.sleep(0.001)


def process_of(launcher, program):
    """The pid of the program itself below its launcher."""
    found = [launcher]
    for pid in found:
        for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
            found += [int(child) for child in (task / "children").read_text().split()]
    return next(pid for pid in reversed(found)
                if os.path.basename(os.readlink(f"/proc/{pid}/exe")) == program)


class Start:
    """A program started on a machine until its window is painted."""

    def __init__(self, desktop, screen, program, machine):
        begin = time.monotonic()
        self.launcher = desktop.start(BUILD / program, machine.root)
        poll(screen.is_painted)
        self.milliseconds = (time.monotonic() - begin) * 1000
        self.pid = process_of(self.launcher.pid, program)
        self.screen = screen

    def peak_kib(self):
        for line in pathlib.Path(f"/proc/{self.pid}/status").read_text().splitlines():
            if line.startswith("VmHWM:"):
                return int(line.split()[1])

    def cpu_ms(self):
        """CPU time of the program so far, from the scheduler's own account."""
        return sum(int((task / "schedstat").read_text().split()[0])
                   for task in pathlib.Path(f"/proc/{self.pid}/task").iterdir()) / 1e6

    def stop(self):
        os.kill(self.pid, 9)
        self.launcher.wait()
        poll(lambda: not self.screen.is_painted())


def measure_start(desktop, screen, program, machine):
    start = Start(desktop, screen, program, machine)
    result = {"time": start.milliseconds, "peak": start.peak_kib()}
    start.stop()
    return result


def settle(start):
    """Waits until the program has nothing left to do."""
    before = -1.0
    while start.cpu_ms() != before:
        before = start.cpu_ms()
        time.sleep(0.05)


def measure_keystrokes(desktop, screen, machine):
    """CPU milliseconds that one keystroke in a resolution box costs the program."""
    start = Start(desktop, screen, "marrowpulse", machine)
    window = output("xdotool", "search", "--onlyvisible", "--name", "^Marrowpulse$",
                    env=desktop.environment).split()[0]
    output("xdotool", "windowfocus", "--sync", window, env=desktop.environment)
    desktop.key("Tab", "Tab", "Tab")  # the list, upscaling, the render resolution
    desktop.key("ctrl+a")
    settle(start)
    before = start.cpu_ms()
    text = "1600x900" * 8
    desktop.type(text)
    settle(start)
    cost = (start.cpu_ms() - before) / len(text)
    start.stop()
    return cost


def measure_apply(desktop, screen, machine):
    """Milliseconds from Alt+A to the question that ends Apply, one game changed."""
    start = Start(desktop, screen, "marrowpulse", machine)
    window = output("xdotool", "search", "--onlyvisible", "--name", "^Marrowpulse$",
                    env=desktop.environment).split()[0]
    output("xdotool", "windowfocus", "--sync", window, env=desktop.environment)
    desktop.key("Tab", "space")  # the first game, off
    settle(start)
    before = screen.windows()
    begin = time.monotonic()
    desktop.key("alt+a")
    poll(lambda: screen.windows() > before)
    result = (time.monotonic() - begin) * 1000
    start.stop()
    return result


class Table:
    def __init__(self):
        self.missed = []

    def row(self, work, value, bound, detail):
        ok = value <= bound
        if not ok:
            self.missed.append(work)
        print(f"| {work} | {value:.2f} | {bound:g} | {detail} | {'yes' if ok else 'MISSED'} |")


def version(*command):
    return output(*command).splitlines()[0].strip()


def print_conditions():
    cpu = next(line.split(":")[1].strip() for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines()
               if line.startswith("model name"))
    cache = dict(line.split("=", 1) for line in (BUILD / "CMakeCache.txt").read_text().splitlines()
                 if "=" in line and not line.startswith(("#", "/")))
    flags = f"{cache['CMAKE_CXX_FLAGS:STRING']} {cache['CMAKE_CXX_FLAGS_RELEASE:STRING']}".strip()
    packages = output("dpkg-query", "-W", "-f", "${Package} ${Version}\n", "libqt6core6", "python3-vdf")
    print(f"Machine: {cpu}, {os.cpu_count()} cores, Linux {platform.release()}")
    print(f"Compiler: {version(cache['CMAKE_CXX_COMPILER:FILEPATH'], '--version')}, flags {flags} "
          "(ours and the plain pass)")
    print(f"Versions: {', '.join(packages.split(chr(10)))}node {version('node', '--version')}, "
          f"@node-steam/vdf {json.loads((HERE / 'peers/package.json').read_text())['dependencies']['@node-steam/vdf']}")
    print()


def main(folder):
    large = Machine(folder, 1000, 36000)
    small = Machine(folder, 150, 8600)
    growth = {games: Machine(folder + "/growth", games, games * 36) for games in (250, 500, 1000, 2000)}
    print(f"File with 1,000 games: {large.vdf.stat().st_size / 1e6:.1f} MB; with 150: "
          f"{small.vdf.stat().st_size / 1e6:.1f} MB. Medians of {ROUNDS} rounds.")

    rounds = {"large": [], "small": [], "peers": [], "small peers": []}
    grown = {games: [] for games in growth}
    for _ in range(ROUNDS):
        rounds["large"].append(large.inner(["plainPass", "readOneGame", "readAllGames", "editOneGame",
                                            "writeAndSync"]))
        rounds["peers"].append(peers(large))
        rounds["small"].append(small.inner(["readAllGames"]))
        rounds["small peers"].append(peers(small))
        for games, machine in growth.items():
            grown[games].append(machine.inner(["editOneGame", "recount", "scan", "list"]))
    inner, other = medians(rounds["large"]), medians(rounds["peers"])
    small_inner, small_other = medians(rounds["small"]), medians(rounds["small peers"])
    curve = {games: medians(values) for games, values in grown.items()}

    with Desktop(window_manager=False) as desktop:
        for name in ("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "QT_ACCESSIBILITY"):
            del desktop.environment[name]  # no player's desktop has them set
        screen = Screen(desktop)
        starts = {"empty": [], "large": [], "small": []}
        for _ in range(2 * ROUNDS):
            starts["empty"].append(measure_start(desktop, screen, "bench_empty_window", large))
            starts["large"].append(measure_start(desktop, screen, "marrowpulse", large))
            starts["small"].append(measure_start(desktop, screen, "marrowpulse", small))
        starts = {name: medians(values) for name, values in starts.items()}
        xrandr = statistics.median(timed_xrandr(desktop) for _ in range(2 * ROUNDS))
        keystroke = statistics.median(measure_keystrokes(desktop, screen, large) for _ in range(3))
        applying = statistics.median(measure_apply(desktop, screen, large) for _ in range(3))

    print_conditions()
    table = Table()
    print("| work | measured | at most | detail | reached |\n|---|---|---|---|---|")

    def ratio(work, ours, theirs, bound):
        table.row(work, ours / theirs, bound, f"{ours:.2f} ms / {theirs:.2f} ms")

    ratio("one game's options / a plain pass", inner["readOneGame"], inner["plainPass"], 2.5)
    ratio("all of 1,000 games / one parse by @node-steam/vdf", inner["readAllGames"], other["node"], 2.0)
    ratio("all of 1,000 games / one parse by python3-vdf", inner["readAllGames"], other["python"], 0.6)
    ratio("all of 150 games / one parse by @node-steam/vdf", small_inner["readAllGames"],
          small_other["node"], 0.7)
    ratio("an edit / writing and syncing the file", inner["editOneGame"], inner["writeAndSync"], 4)
    ratio("an edit / an edit by python3-vdf", inner["editOneGame"], other["python edit"], 0.25)
    table.row("one keystroke, 1,000 games enabled (ms)", keystroke, 16, "CPU time of the program")
    empty = starts["empty"]["time"]
    ratio("window with 1,000 games / an empty one", starts["large"]["time"] - xrandr, empty, 3.5)
    ratio("window with 150 games / an empty one", starts["small"]["time"] - xrandr, empty, 1.5)
    extra = (starts["large"]["peak"] - starts["empty"]["peak"]) / 1024
    table.row("peak memory above the empty window's (MB)", extra, 25,
              f"{starts['large']['peak'] / 1024:.1f} MB / {starts['empty']['peak'] / 1024:.1f} MB")
    for name, bound in (("editOneGame", 2.2), ("recount", 2.2), ("list", 2.2), ("scan", 4.4)):
        for games in (500, 1000, 2000):
            ratio(f"{name}, {games} games / {games // 2}", curve[games][name], curve[games // 2][name],
                  bound)
    print(f"\nApply of one game of 1,000, from Alt+A to the last question: {applying:.0f} ms. "
          f"xrandr itself: {xrandr:.1f} ms.\n")
    print("| games | edit (ms) | recount (ms) | list (ms) | scan (ms) |\n|---|---|---|---|---|")
    for games, values in curve.items():
        print(f"| {games} | {values['editOneGame']:.2f} | {values['recount']:.2f} | {values['list']:.2f} "
              f"| {values['scan']:.2f} |")
    if table.missed:
        print(f"\nMissed: {'; '.join(table.missed)}")
    return 1 if table.missed else 0


def timed_xrandr(desktop):
    begin = time.monotonic()
    desktop.output("xrandr", "--current")
    return (time.monotonic() - begin) * 1000


if __name__ == "__main__":
    with tempfile.TemporaryDirectory(prefix="marrowpulse-bench.") as scratch:
        os.mkdir(scratch + "/growth")
        sys.exit(main(scratch))
