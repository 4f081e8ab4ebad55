# SPDX-License-Identifier: MIT
"""The program is killed: before every system call of an edit that touches a file, and at random
moments of a whole Apply. No file is damaged, and every game's own launch options are in Steam's file
or in the store."""
import contextlib
import os
import random
import re
import signal
import subprocess
import unittest

import faults
import machine
from faults import APPID, NEW_OPTIONS, OWN_OPTIONS, inject, share, traced


class KilledEdit(unittest.TestCase):
    maxDiff = None

    def kill_at_every_call(self, size, count):
        old = faults.sample(size)
        new = faults.edited(old)

        def task(folder):
            return ["edit", folder.file, APPID, NEW_OPTIONS]

        def one(call):
            with faults.Folder(old) as folder:
                process, _ = traced(folder.path, task(folder), inject(call, "signal=KILL"))
                wrong = []
                if process.returncode != -signal.SIGKILL:
                    wrong.append(f"{call}: not killed")
                if faults.read(folder.file) not in (old, new):
                    wrong.append(f"{call}: the file is damaged")
                if any(faults.read(backup) != old for backup in folder.backups()):
                    wrong.append(f"{call}: a backup is no copy")
                return wrong, faults.read(folder.file) == new

        with faults.Folder(old) as folder:
            process, calls = traced(folder.path, task(folder))
            self.assertTrue(faults.Answer(process).done)
        self.assertGreater(len(calls), 50)
        # The last call comes after the new file took its place.
        results = faults.in_parallel(one, [*share(calls[:-1], count - 1), calls[-1]])
        print(f"{self.id()}: {len(results)} kills")
        self.assertEqual([text for wrong, _ in results for text in wrong], [])
        self.assertEqual({done for _, done in results}, {False, True})

    def test_at_every_call_of_a_file_of_5_kb(self):
        self.kill_at_every_call(5000, 60)

    def test_at_every_call_of_a_file_of_2_mb(self):
        self.kill_at_every_call(2_000_000, 40)


class KilledStore(unittest.TestCase):
    def test_at_every_call(self):
        old = b"[original]\n400=-first\n"

        def task(folder):
            return ["remember", folder.file, OWN_OPTIONS, "10"]

        def one(call):
            with faults.Folder(old) as folder:
                process, _ = traced(folder.path, task(folder), inject(call, "signal=KILL"))
                self.assertEqual(process.returncode, -signal.SIGKILL, str(call))
                return str(call), faults.read(folder.file)

        with faults.Folder(old) as folder:
            _, calls = traced(folder.path, task(folder))
        results = faults.in_parallel(one, share(calls, 40))
        print(f"{self.id()}: {len(results)} kills")
        for call, content in results:
            self.assertIn(content, (old, b"[original]\n10=-own\n400=-first\n"), call)


class KilledApply(unittest.TestCase):
    """The real window applies a change to 60 games and is killed somewhere on the way."""

    games = [str(1001 + i) for i in range(60)]
    kills = 200 if faults.LONG else 20

    def test_at_random_moments(self):
        moments = random.Random(20240607)
        with machine.Machine(len(self.games)) as pretend:
            before = faults.read(pretend.local_config)
            lines = pretend.apply("enable")
            duration = int(lines[-1]) / 1000
            self.assertEqual(lines[1:-1], ["Changes applied. Restart Steam now?"])
            after = faults.read(pretend.local_config)
            self.assertEqual(sorted(self.options(after)), self.games)
            reached = set()
            kill = 0
            # The moments are spread over the work, and not all before or behind it.
            while kill < self.kills or len(reached) < 2:
                self.assertLess(kill, 10 * self.kills, "it was never killed in its work")
                if kill and kill % self.kills == 0:
                    duration *= 2  # the machine has become busy
                kill += 1
                pretend.reset(before)
                moment = moments.uniform(0, 1.5 * duration)
                self.kill_apply(pretend, moment)
                now = faults.read(pretend.local_config)
                self.assertIn(now, (before, after),
                              f"kill {kill} after {moment} s: the file is damaged")
                reached.add(now)
                for backup in pretend.backups():
                    self.assertEqual(faults.read(backup), before, f"kill {kill}")
                kept = pretend.originals()
                for game in self.games:
                    own = f"-own{game}"
                    self.assertTrue(self.options(now)[game] == own or kept.get(game) == own,
                                    f"kill {kill} after {moment} s: {game} has lost its options")
        print(f"{self.id()}: {kill} kills in {duration} s")

    @staticmethod
    def options(content):
        """The launch options of every game, by app id."""
        found = re.findall(r'"(\d+)"\s*\{(?:[^{}]|\{[^{}]*\})*?"LaunchOptions"\t\t"([^"]*)"',
                           content.decode())
        return dict(found)

    @staticmethod
    def kill_apply(pretend, moment):
        with pretend.start("enable") as process:
            pid = int(process.stdout.readline())
            try:
                process.wait(moment)
            except subprocess.TimeoutExpired:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, signal.SIGKILL)
            process.stdout.read()


if __name__ == "__main__":
    unittest.main()
