# SPDX-License-Identifier: MIT
"""Every call of a whole Apply that touches a file fails once with each error, fails from then on, says
that it moved fewer bytes, and is once the last one before the program is killed. The machine has
twenty games of six kinds, and Steam's file is a private one behind a link. Whatever happens, the file
is what the program's boxes say, no game's own launch options are lost, nothing hangs, and afterwards
an undisturbed Apply gives every game its own back."""
import collections
import contextlib
import queue
import random
import re
import subprocess
import time
import unittest

import faults
import kindsmachine
import machine
from kindsmachine import (APPLIED, EDITED, ESCAPED, GAMES, KEPT, OWN, TYPED, UNREADABLE, options_in,
                          with_options)

WHATS = ("error=EIO", "error=ENOSPC", "error=EACCES", "error=EINTR", "signal=KILL")
# What some calls do, besides: they fail from now on, or tell of other bytes than they moved. The
# driver's own lines are written, too, and so is not every write to fail.
LASTING = ("openat", "read", "fsync", "fdatasync", "rename", "linkat")
MOVING = {"read": ("retval=0",), "write": ("retval=0", "retval=1")}
# Faults of each sweep in an ordinary run: of calls that change something, and of all others.
SHARES = 40, 15
CHANGING = ("write", "rename", "linkat", "unlink", "fsync", "fdatasync", "fchmod", "fchown", "fsetxattr",
            "fremovexattr", "flock", "mkdir")
LONGEST = 5  # seconds that an Apply may take
SCRATCH = "/.scratch-"  # begins the names of the store's scratch folders


class TracedMachine(kindsmachine.KindsMachine):
    def traced(self, task, strace=()):
        """Runs one Apply under strace: how it ended, what it printed, its calls in their order and
        the seconds that it took."""
        log = self.root + "/trace"
        # A process whose calls fail up to its end would spoil the counts of a coverage build, which
        # are added to at the end: it keeps its own.
        coverage = {"GCOV_PREFIX": self.root + "/coverage"} if "+" in "".join(strace) else {}
        start = time.monotonic()
        process = subprocess.run(
            [machine.ON_MACHINE, self.root, "strace", "-y", "-s", "0", "-o", log, *strace,
             machine.APPLY_DRIVER, task, *self.swaps],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, timeout=120, check=False,
            env=faults.environment("detect_leaks=0", TMPDIR=self.temporary, **coverage))
        taken = time.monotonic() - start
        return process.returncode, process.stdout.splitlines(), self.calls(log), taken

    def calls(self, log):
        """Name, number among those with its name, and line of each call; whether it touches the
        machine."""
        seen = collections.Counter()
        found = []
        for line in faults.read(log).decode(errors="replace").splitlines():
            match = faults.CALL.match(line)
            if match:
                seen[match[1]] += 1
                call = faults.Call(match[1], seen[match[1]], line)
                call.touches = self.root in line and match[1] != "execve"
                found.append(call)
        return found


class Target:
    """A call of the clean trace: which it is among those with its name that touch the machine. Others
    come and go with the toolkit's moods, so that its number has to be found out."""

    def __init__(self, call, turn):
        self.name, self.number, self.turn = call.name, call.number, turn

    def find(self, calls):
        touching = [call for call in calls if call.name == self.name and call.touches]
        return touching[self.turn] if len(touching) > self.turn else None

    def hit(self, pretend, state, task, what):
        """An Apply in which it was hit; none when the toolkit's moods never let it be."""
        fault, lasting = what.removesuffix("+"), "+" if what.endswith("+") else ""
        for _ in range(16):
            pretend.set_up(state)
            result = pretend.traced(task, ["-e", f"trace={self.name}", "-e",
                                           f"inject={self.name}:{fault}:when={self.number}{lasting}"])
            found = self.find(result[2])
            if found and found.number == self.number:
                return result
            if found:
                self.number = found.number
            else:
                self.number += 1  # another one was killed before it
        return None


def targets(calls):
    """The calls between the driver's first line and its last one that touch the machine."""
    written = [n for n, call in enumerate(calls) if call.line.startswith("write(1<")]
    turns = collections.Counter()
    found = []
    for n, call in enumerate(calls):
        if call.touches:
            if written[0] < n < written[-1]:
                found.append((Target(call, turns[call.name]), call.line))
            turns[call.name] += 1
    return found


def whats(name):
    """The faults of a call of that name."""
    lasting = [f"error={error}+" for error in ("EIO", "ENOSPC")] if name in LASTING else []
    return [*WHATS, *lasting, *MOVING.get(name, ())]


class Sweep(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.machines = queue.Queue()
        for _ in range(2):
            pretend = TracedMachine()
            cls.addClassCleanup(pretend.__exit__)
            cls.machines.put(pretend)
            # On both, since the first run of a home fills the fonts' cache.
            cls.fresh, cls.enabled = pretend.states()

    @contextlib.contextmanager
    def a_machine(self):
        pretend = self.machines.get()
        try:
            yield pretend
        finally:
            self.machines.put(pretend)

    def test_the_kinds_of_games(self):
        """What the sweeps go by: before, and after undisturbed Applies."""
        before, after = options_in(self.fresh.file), options_in(self.enabled.file)
        self.assertEqual({game: before[game] for game in (*OWN, *ESCAPED)}, {**OWN, **ESCAPED})
        self.assertEqual([game for game in GAMES if game not in before],
                         ["1006", "1007", "1008", "1015", "1016", "1017"])
        for game in EDITED:
            self.assertTrue(after[game].startswith("MARROWPULSE=1 "), after[game])
            self.assertNotEqual(after[game], before.get(game))
        self.assertEqual({game: after[game] for game in ESCAPED}, ESCAPED)
        self.assertEqual(self.enabled.kept, {**KEPT, **OWN, "88": "-other"})
        self.assertEqual(self.enabled.file,
                         with_options(self.fresh.file, {g: after[g] for g in EDITED}))

    def test_enabling(self):
        self.sweep("enable", self.fresh, EDITED)

    def test_enabling_for_the_first_time(self):
        self.sweep("enable", self.fresh._replace(store=None, kept={}), EDITED)

    def test_enabling_with_a_store_that_cannot_be_read(self):
        state = self.fresh._replace(store=UNREADABLE, hidden_store=self.fresh.store)
        self.sweep("enable", state, [g for g in EDITED if g not in OWN])

    def test_disabling(self):
        self.sweep("disable", self.enabled, EDITED)

    def test_disabling_with_a_store_that_cannot_be_read(self):
        state = self.enabled._replace(store=UNREADABLE, hidden_store=self.enabled.store)
        self.sweep("disable", state, [])

    def test_disabling_with_a_store_that_could_not_be_read_at_the_start(self):
        state = self.enabled._replace(store=UNREADABLE, meanwhile_store=self.enabled.store)
        self.sweep("disable", state, EDITED)

    def test_disabling_games_whose_options_were_typed_meanwhile(self):
        state = self.enabled._replace(meanwhile_file=with_options(self.enabled.file, TYPED), typed=TYPED)
        self.sweep("disable", state, [g for g in EDITED if g not in TYPED or g in self.enabled.kept])

    def sweep(self, task, state, changed):
        """`changed` names the games that an undisturbed Apply changes."""
        with self.a_machine() as pretend:
            pretend.set_up(state)
            code, lines, calls, _ = pretend.traced(task)
            texts = state.at_apply()[0], faults.read(pretend.local_config)
        self.assertEqual((code, lines[-2]), (0, APPLIED))
        undisturbed = [line.replace(pretend.root, "") for line in lines[1:-1]]
        before, after = map(options_in, texts)
        self.assertEqual([game for game in GAMES if before.get(game) != after.get(game)], changed)
        self.wanted = {game: after[game] for game in changed}
        self.judged = {}

        cases = [(target, line, what) for target, line in targets(calls) for what in whats(target.name)]
        self.assertGreater(len(cases), 300)
        is_changing = {True: [], False: []}
        for case in cases:
            is_changing[case[0].name in CHANGING].append(case)
        cases = [case for changing, count in zip((True, False), SHARES)
                 for case in faults.share(is_changing[changing], count)]
        random.Random(1).shuffle(cases)  # no two threads on one target in a row
        start = time.monotonic()
        results = faults.in_parallel(lambda case: self.one(task, state, undisturbed, *case), cases)
        missed = [case[1] for case, result in zip(cases, results) if result is None]
        self.assertLess(20 * len(missed), len(cases), "calls that were never hit:\n" + "\n".join(missed))
        results = [result for result in results if result]
        names = collections.Counter(case[0].name for case in cases)
        print(f"{self.id()}: {len(results)} of {sum(map(len, is_changing.values()))} faults "
              f"in {time.monotonic() - start:.0f} s, {len(missed)} missed, "
              f"{sum(refused for refused, _ in results)} refusals; "
              + ", ".join(f"{name} {count}" for name, count in sorted(names.items())))
        self.assertEqual([text for _, wrong in results for text in wrong], [])
        self.assertEqual({refused for refused, _ in results}, {False, True})

    def one(self, task, state, undisturbed, target, line, what):
        """Whether the program told of something that the fault prevented, and what is wrong; None when
        the call was never hit."""
        with self.a_machine() as pretend:
            own = Target(target, target.turn)
            hit = own.hit(pretend, state, task, what)
            if not hit:
                return None
            code, lines, _, taken = hit
            boxes = [box.replace(pretend.root, "") for box in (lines[1:] if code else lines[1:-1])]
            # What cannot be looked at or removed stays for now.
            may_leave = (code != 0 or own.name in ("unlink", "unlinkat", "rmdir", "getdents64")
                         or SCRATCH in line or what.endswith("+"))
            is_killed = what == "signal=KILL"
            wrong = kindsmachine.judge(pretend, state, self.wanted, boxes, is_killed, may_leave)
            if (code != 0) != is_killed:
                wrong.append(f"it ended with {code}")
            if code == 0 and int(lines[-1]) > 1000 * LONGEST:
                wrong.append(f"it took {lines[-1]} ms")
            if taken > 4 * LONGEST:
                wrong.append(f"it took {taken:.1f} s")
            wrong += kindsmachine.judge_afterwards(pretend, state, self.judged)
            line = line.replace(pretend.root, "")
            refused = code == 0 and boxes != undisturbed
            return refused, [f"{what} at {own.name} {own.number}, {line}: {boxes}: {text}"
                             for text in wrong]


if __name__ == "__main__":
    unittest.main()
