# SPDX-License-Identifier: MIT
"""What python3-vdf takes for the file that is the first argument, in milliseconds, as JSON: one parse,
and for each further argument, a number of games, loading the file, changing as many games' launch
options, dumping, writing and syncing it. Medians of several."""
import itertools
import json
import os
import statistics
import sys
import timeit

import vdf

PATH, *COUNTS = sys.argv[1:]


def median_of(work):
    return statistics.median(timeit.repeat(work, number=1, repeat=3)) * 1000


def edit(games):
    with open(PATH, encoding="utf-8") as file:
        data = vdf.load(file)
    apps = data["UserLocalConfigStore"]["Software"]["Valve"]["Steam"]["apps"]
    for app in itertools.islice(apps.values(), games):
        app["LaunchOptions"] = "%command%"
    with open(PATH + ".peer", "w", encoding="utf-8") as file:
        vdf.dump(data, file, pretty=True)
        file.flush()
        os.fsync(file.fileno())


with open(PATH, encoding="utf-8") as source:
    TEXT = source.read()
print(json.dumps({"parse": median_of(lambda: vdf.loads(TEXT)),
                  "edit": {count: median_of(lambda: edit(int(count))) for count in COUNTS}}))
