# SPDX-License-Identifier: MIT
"""Milliseconds of one parse of the file that is the first argument, and of one edit of it (load,
change, dump, write, sync): medians of several, on a line each."""
import os
import statistics
import sys
import time

import vdf


def median_of(work):
    times = []
    for _ in range(3):
        start = time.perf_counter()
        work()
        times.append((time.perf_counter() - start) * 1000)
    return statistics.median(times)


def edit():
    with open(sys.argv[1], encoding="utf-8") as file:
        data = vdf.load(file)
    apps = data["UserLocalConfigStore"]["Software"]["Valve"]["Steam"]["apps"]
    next(iter(apps.values()))["LaunchOptions"] = "%command%"
    with open(sys.argv[1] + ".peer", "w", encoding="utf-8") as file:
        vdf.dump(data, file, pretty=True)
        file.flush()
        os.fsync(file.fileno())


with open(sys.argv[1], encoding="utf-8") as source:
    TEXT = source.read()
print(median_of(lambda: vdf.loads(TEXT)))
print(median_of(edit))
