# SPDX-License-Identifier: MIT
"""The table of a run, and its place in docs/performance.md."""
import json
import os
import platform
from statistics import median

from machines import HERE, found, output

DOCUMENT = HERE.parent / "docs/performance.md"
PICTURE = HERE.parent / "docs/images/performance.svg"
BEGIN, END = ("<!-- What stands from here is written by script/bench --write. -->\n",
              "<!-- What stands up to here is written by script/bench --write. -->\n")


class Report:
    """Lines of Markdown; keeps which bounds are missed."""

    def __init__(self):
        self.lines = []
        self.missed = []

    def line(self, text=""):
        self.lines.append(text)

    def table(self, *columns):
        self.line()
        self.line(f"| {' | '.join(columns)} |")
        self.line("|" + "---|" * len(columns))

    def row(self, *cells):
        self.line(f"| {' | '.join(cells)} |")

    def bounded(self, work, value, bound, detail):
        reached = value <= bound
        if not reached:
            self.missed.append(work)
        self.row(work, f"{value:.2f}", f"{bound:g}", detail, "yes" if reached else "MISSED")

    def ratio(self, work, ours, theirs, bound):
        """The median of the ratios of what was measured close together, each list in that order."""
        self.bounded(work, median(one / other for one, other in zip(ours, theirs, strict=True)), bound,
                     f"{median(ours):.2f} ms / {median(theirs):.2f} ms")

    def conditions(self, builds):
        cpu = found(r"model name\s*: (.*)", "/proc/cpuinfo")
        caches = [build / "CMakeCache.txt" for build in builds]
        compiler = found("CMAKE_CXX_COMPILER:FILEPATH=(.*)", caches[0])
        flags = [found("CMAKE_CXX_FLAGS_RELEASE:STRING=(.*)", caches[0]),
                 found("CMAKE_CXX_FLAGS:STRING=(.*)", caches[1])]
        packages = output("dpkg-query", "-W", "-f", "${Package} ${Version}\n", "libqt6core6", "python3-vdf")
        peer = json.loads((HERE / "peers/package.json").read_text())["dependencies"]["@node-steam/vdf"]
        self.line(f"- Machine: {cpu}, {os.cpu_count()} cores, Linux {platform.release()}")
        self.line(f"- Compiler: {output(compiler, '--version').splitlines()[0]}, with "
                  f"`{flags[0]}`, and where the table says so with `{flags[1]}`")
        self.line(f"- Versions: {', '.join(packages.splitlines())}, node "
                  f"{output('node', '--version').strip()}, @node-steam/vdf {peer}")

    def text(self):
        return "\n".join(self.lines) + "\n"

    def write_to_document(self):
        """Puts the text between the document's two marks."""
        text = DOCUMENT.read_text()
        before, after = text.index(BEGIN) + len(BEGIN), text.index(END)
        DOCUMENT.write_text(f"{text[:before]}\n{self.text()}\n{text[after:]}")
