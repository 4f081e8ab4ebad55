#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Prints what gcovr measured, by file, and fails when it is too little.

    gcovr --json | reach.py LINES BRANCHES

LINES and BRANCHES are the least percentages. Every function has to be called; of one that is
compiled for several processors, one of them.
"""
import collections
import json
import sys


class Count:
    def __init__(self, counts):
        counts = list(counts)
        self.reached = sum(count > 0 for count in counts)
        self.all = len(counts)

    def __str__(self):
        return f"{self.reached} of {self.all}"

    def percentage(self):
        return 100 * self.reached / self.all if self.all else 100


def lines(files):
    return Count(line["count"] for file in files for line in file["lines"]
                 if not line["gcovr/noncode"])


def branches(files):
    return Count(branch["count"] for file in files for line in file["lines"]
                 for branch in line["branches"])


def calls(file):
    """How often each function was called, by name."""
    found = collections.Counter()
    for function in file["functions"]:
        found[function["name"].partition(" [clone")[0]] += function["execution_count"]
    return found


def functions(files):
    return Count(count for file in files for count in calls(file).values())


def main(least_lines, least_branches):
    files = json.load(sys.stdin)["files"]
    row = "{:32} {:>14} {:>14} {:>12}".format
    print(row("", "lines", "branches", "functions"))
    for file in files:
        print(row(file["file"], *(str(count([file])) for count in (lines, branches, functions))))
    print(row("all", *(str(count(files)) for count in (lines, branches, functions))))
    print(f"{lines(files).percentage():.1f} % of the lines, "
          f"{branches(files).percentage():.1f} % of the branches")
    for file in files:
        for line in file["lines"]:
            missing = Count(branch["count"] for branch in line["branches"])
            if missing.reached < missing.all or (line["count"] == 0 and not line["gcovr/noncode"]):
                print(f"{file['file']}:{line['line_number']}: run {line['count']} times, "
                      f"{missing} branches")
    uncalled = [f"{file['file']}: {name} is never called" for file in files
                for name, count in calls(file).items() if count == 0]
    print("\n".join(uncalled), end="\n" if uncalled else "")
    return not files or bool(uncalled) or lines(files).percentage() < least_lines \
        or branches(files).percentage() < least_branches


if __name__ == "__main__":
    sys.exit(main(float(sys.argv[1]), float(sys.argv[2])))
