# SPDX-License-Identifier: MIT
"""What the tests under faults share: the driver, its traces, sample files, and the share of cases
that an ordinary run takes."""
import concurrent.futures
import os
import random
import re
import shutil
import subprocess
import tempfile

DRIVER = os.environ["MARROWPULSE_FAULT_DRIVER"]
LONG = os.environ.get("MARROWPULSE_LONG") == "1"
QT_VERSION = tuple(int(part) for part in os.environ["MARROWPULSE_QT_VERSION"].split("."))
APPID = "620"
OLD_OPTIONS = "-old"
NEW_OPTIONS = "gamemoderun %command% -new"
OWN_OPTIONS = "-own"
FILE = "localconfig.vdf"


def share(cases, count):
    """All cases in a long run, else `count` of them: always the same ones."""
    cases = list(cases)
    if LONG or len(cases) <= count:
        return cases
    return random.Random(20240607).sample(cases, count)


def sample(size, options=OLD_OPTIONS):
    """A localconfig.vdf of `size` bytes in which game 620 has the given options."""
    head = ('"UserLocalConfigStore"\n{\n\t"apps"\n\t{\n\t\t"' + APPID
            + '"\n\t\t{\n\t\t\t"LaunchOptions"\t\t"')
    tail = '"\n\t\t}\n\t}\n\t"friends"\n\t{\n\t\t"note"\t\t"'
    end = '"\n\t}\n}\n'
    padding = size - len(head) - len(options) - len(tail) - len(end)
    if padding < 0:
        raise ValueError(f"{size} bytes are too few")
    # Numbered, so that no piece of the file can pass for another.
    note = "".join(f"{n:07} " for n in range(padding // 8 + 1))[:padding]
    return (head + options + tail + note + end).encode()


def edited(content):
    """What the edit of sample() is to write."""
    old, new = ('"LaunchOptions"\t\t"%s"' % o for o in (OLD_OPTIONS, NEW_OPTIONS))
    assert content.count(old.encode()) == 1
    return content.replace(old.encode(), new.encode())


def judge_plain_saves(test, false_successes):
    """On a disk without any room a plain save of Qt 6.4 empties the file and claims success, that of
    Qt 6.8 tells the truth."""
    print(f"{test.id()}: {false_successes} false successes with Qt {'.'.join(map(str, QT_VERSION))}")
    if QT_VERSION < (6, 5):
        test.assertGreater(false_successes, 0)
    elif QT_VERSION >= (6, 8):
        test.assertEqual(false_successes, 0)


class Folder:
    """A folder for one case, gone afterwards."""

    def __init__(self, content=None, parent=None):
        self.path = tempfile.mkdtemp(prefix="marrowpulse-fault.", dir=parent)
        self.file = os.path.join(self.path, FILE)
        if content is not None:
            write(self.file, content)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.path)

    def names(self):
        return sorted(os.listdir(self.path))

    def backups(self):
        return [os.path.join(self.path, n) for n in self.names() if ".bak-marrow-" in n]


def write(path, content):
    with open(path, "wb") as file:
        file.write(content)


def read(path):
    with open(path, "rb") as file:
        return file.read()


def environment(asan_option="", **more):
    """`asan_option`: one more for a build with the address sanitizer."""
    options = os.environ.get("ASAN_OPTIONS", "") + ":" + asan_option
    return {**os.environ, "ASAN_OPTIONS": options, **more}


class Answer:
    """What the driver claims: done or not, and the text that it gives with it."""

    def __init__(self, process):
        if process.returncode not in (0, 1):
            raise AssertionError(f"the driver ended with {process.returncode}: "
                                 f"{process.stdout}{process.stderr}")
        self.done = process.returncode == 0
        self.text = process.stdout.strip()


def run(arguments, asan_option="", **variables):
    return subprocess.run(arguments, capture_output=True, text=True, cwd="/", check=False,
                          env=environment(asan_option, **variables))


def ask(*arguments):
    return Answer(run([DRIVER, *arguments]))


class Call:
    """One system call of a trace: its name, which one of that name it was, and its line."""

    def __init__(self, name, number, line):
        self.name, self.number, self.line = name, number, line
        self.is_last = False  # of those with its name

    def __str__(self):
        return f"{self.name} {self.number}"


CALL = re.compile(r"^(\w+)\(")


def traced(folder, arguments, strace=()):
    """Runs the driver under strace; its process, and the calls that touch `folder`, the files in it
    or the driver's scratch copies. With `-y` every descriptor is written with the file that it
    stands for."""
    log = tempfile.NamedTemporaryFile(prefix="marrowpulse-trace.")
    with log:
        # Leaks cannot be looked for in a traced process. One whose calls fail up to its end would
        # spoil the counts of a coverage build, which are added to at the end: it keeps its own.
        variables = {}
        if any(option.endswith("+") for option in strace):
            variables["GCOV_PREFIX"] = "/dev/null"
        process = run(["strace", "-y", "-s", "0", "-o", log.name, *strace, DRIVER, *arguments],
                      "detect_leaks=0", **variables)
        lines = read(log.name).decode(errors="replace").splitlines()
    seen = {}
    calls = []
    for line in lines:
        match = CALL.match(line)
        if not match:
            continue
        name = match.group(1)
        seen[name] = seen.get(name, 0) + 1
        if name != "execve" and any(part in line for part in (folder, "(INJECTED)")):
            calls.append(Call(name, seen[name], line))
    for call in {call.name: call for call in calls}.values():
        call.is_last = True
    return process, calls


def inject(call, what, later=""):
    """strace's options that tamper with one call, or with it and those of its name after it."""
    return ["-e", f"trace={call.name}",
            "-e", f"inject={call.name}:{what}:when={call.number}{later}"]


def in_parallel(function, cases):
    """The results of the function for each case, two at a time."""
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        return list(pool.map(function, cases))
