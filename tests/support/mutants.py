#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""How many small wrong changes of the program the unit and gui tests find.

    mutants.py --since COMMIT [--seed N] [--count N]

Lists what can be changed in the lines of src/ that differ from COMMIT, draws from it by the seed before
anything is run, and tries the changes in that order until so many of them compiled: each is built and
tested in a clone. Prints a line for each: caught (with the test that failed), or survived, with
the changed line. All of src/ differs from the empty tree, 4b825dc642cb6eb9a060e54bf8d69288fbee4904.
"""
import argparse
import concurrent.futures
import pathlib
import queue
import random
import re
import subprocess
import tempfile

TOP = pathlib.Path(__file__).resolve().parents[2]
CONFIGURE = ["cmake", "-S", ".", "-B", "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
             "-DCMAKE_CXX_FLAGS=-O1", "-DBUILD_TESTING=ON", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"]
BUILD = ["cmake", "--build", "build", "-j", "1", "--target", "all", "tests/app/all"]
CTEST = ["ctest", "--test-dir", "build", "--stop-on-failure"]
UNIT, GUI = ["-L", "unit"], ["-L", "gui", "-E", "did_not_exit"]
UNIT_OR_GUI = ["-L", "unit|gui"]
SLOW = ["-R", "did_not_exit"]  # it waits for a minute and a half

SWAPS = [(" == ", " != "), (" < ", " <= "), (" > ", " >= "), (" && ", " || "), (" + ", " - "),
         ("true", "false")]
STATEMENT = re.compile(r"\s*(?!return\b|using\b|case\b|else\b|break;|namespace\b|[}#])\S.*;")


def output(*command, cwd=TOP):
    return subprocess.run(command, cwd=cwd, check=True, capture_output=True, text=True).stdout


def changed_lines(since):
    """The numbers of HEAD's lines of src/ that differ from the commit, by file."""
    lines = {}
    differences = output("git", "diff", "-U0", "--diff-filter=d", since, "HEAD", "--", "src/*.cpp", "src/*.h")
    for line in differences.splitlines():
        if line.startswith("+++ "):
            path = line[6:]
        elif hunk := re.match(r"@@ \S+ \+(\d+)(?:,(\d+))?", line):
            first, count = int(hunk[1]), int(hunk[2] or 1)
            lines.setdefault(path, []).extend(range(first, first + count))
    return lines


def masked(line):
    """The line with the characters of strings and comments blanked, so that only code is matched."""
    return re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])*\'|//.*',
                  lambda found: found[0][0] + " " * (len(found[0]) - 2) + found[0][-1]
                  if found[0][0] != "/" else "", line)


def variants(line):
    """What a small mistake could make of a line."""
    code = masked(line)
    if not code.strip() or code.lstrip().startswith("#"):
        return
    for one, other in SWAPS:
        for old, new in ((one, other), (other, one)):
            pattern = rf"(?<!\w){old}(?!\w)" if old.isalpha() else re.escape(old)
            for found in re.finditer(pattern, code):
                yield line[:found.start()] + new + line[found.end():]
    for found in re.finditer(r"(?<![\w.])\d+(?![\w.'])", code):
        yield line[:found.start()] + str(int(found[0]) + 1) + line[found.end():]
    for found in re.finditer(r"!(?!=)", code):
        yield line[:found.start()] + line[found.end():]
    for found in re.finditer(r"\bif \((.*)\)(?= \{$|$)", code):
        begin, end = found.span(1)
        yield f"{line[:begin]}!({line[begin:end]}){line[end:]}"
    for found in re.finditer(r'"[^"]+"', line):
        if code[found.start():].startswith('"'):
            yield line[:found.start()] + '""' + line[found.end():]
    is_whole = STATEMENT.fullmatch(code.rstrip()) and code.count("(") == code.count(")")
    if is_whole and re.search(r"\(| = ", code):
        yield "\n"


def sites(since):
    found = []
    for path, numbers in changed_lines(since).items():
        text = output("git", "show", f"HEAD:{path}").splitlines(keepends=True)
        for number in numbers:
            found += [(path, number, new) for new in variants(text[number - 1])]
    return found


def try_change(folder, change):
    """Builds and tests a change in one of the clones, and says what became of it."""
    path, number, new = change
    file = pathlib.Path(folder, path)
    old = file.read_text()
    lines = old.splitlines(keepends=True)
    lines[number - 1] = new
    file.write_text("".join(lines))
    try:
        if subprocess.run(BUILD, cwd=folder, capture_output=True).returncode != 0:
            return "does not compile"
        own = ["-R", f"test_{file.stem.split('_')[0]}", *UNIT_OR_GUI]  # likely to notice, so they are first
        for tests in (own, GUI, UNIT, SLOW) if path.startswith("src/app/") else (own, UNIT, GUI, SLOW):
            done = subprocess.run(CTEST + tests, cwd=folder, capture_output=True, text=True, errors="replace")
            if done.returncode != 0:
                failed = re.search(r"Test +#\d+: (\S+) \.*\*\*\*", done.stdout)
                return f"caught by {failed[1] if failed else 'a test'}"
        return "survived"
    finally:
        file.write_text(old)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--since", required=True)
    parser.add_argument("--seed", type=int, default=20261122)
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--workers", type=int, default=2)
    arguments = parser.parse_args()
    drawn = sites(arguments.since)
    print(f"{len(drawn)} changes are possible", flush=True)
    random.Random(arguments.seed).shuffle(drawn)

    results = {}
    folders = queue.Queue()
    with tempfile.TemporaryDirectory(prefix="marrowpulse-mutants.") as scratch:
        for worker in range(arguments.workers):
            folder = pathlib.Path(scratch, str(worker))
            folder.mkdir()
            output("git", "clone", "-q", TOP, ".", cwd=folder)
            rooms = folder / "src/CMakeLists.txt"  # with shared ones the tests need no linking anew
            rooms.write_text(rooms.read_text().replace("STATIC", "SHARED"))
            output(*CONFIGURE, cwd=folder)
            folders.put(folder)

        def prepare(folder):
            output(*BUILD, cwd=folder)
            output(*CTEST, *UNIT, cwd=folder)

        def run(index):
            folder = folders.get()
            try:
                return try_change(folder, drawn[index])
            finally:
                folders.put(folder)

        with concurrent.futures.ThreadPoolExecutor(arguments.workers) as pool:
            list(pool.map(prepare, list(folders.queue)))
            index = 0
            while index < len(drawn):
                compiled = sum(result != "does not compile" for result in results.values())
                batch = range(index, min(index + max(arguments.count - compiled, 0), len(drawn)))
                if not batch:
                    break
                for at, result in zip(batch, pool.map(run, batch)):
                    results[at] = result
                    path, number, new = drawn[at]
                    print(f"{at}: {result}: {path}:{number}: {new.strip() or '(removed)'}", flush=True)
                index = batch.stop
    told = list(results.values())
    print(f"{sum(r.startswith('caught') for r in told)} caught, {told.count('survived')} survived, "
          f"{told.count('does not compile')} do not compile")


if __name__ == "__main__":
    main()
