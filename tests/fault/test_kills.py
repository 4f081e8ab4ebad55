# SPDX-License-Identifier: MIT
"""The program is killed at random moments of a whole Apply. No file is damaged, and every game's own
launch options are in Steam's file or in the store."""
import contextlib
import os
import random
import re
import signal
import subprocess
import unittest

import faults
import machine


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
