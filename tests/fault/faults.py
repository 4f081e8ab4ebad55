# SPDX-License-Identifier: MIT
"""What the tests under faults share: the calls of a trace, and the share of cases that an ordinary run
takes."""
import concurrent.futures
import os
import random
import re

LONG = os.environ.get("MARROWPULSE_LONG") == "1"
FILE = "localconfig.vdf"


def share(cases, count):
    """All cases in a long run, else `count` of them: always the same ones."""
    cases = list(cases)
    if LONG or len(cases) <= count:
        return cases
    return random.Random(20240607).sample(cases, count)


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


class Call:
    """One system call of a trace: its name, which one of that name it was, and its line."""

    def __init__(self, name, number, line):
        self.name, self.number, self.line = name, number, line

    def __str__(self):
        return f"{self.name} {self.number}"


CALL = re.compile(r"^(\w+)\(")


def in_parallel(function, cases):
    """The results of the function for each case, two at a time."""
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        return list(pool.map(function, cases))
