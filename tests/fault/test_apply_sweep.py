# SPDX-License-Identifier: MIT
"""Every call of a whole Apply that touches a file fails once with each error, fails from then on, says
that it moved fewer bytes, and is once the last one before the program is killed. Whatever happens, the
file is what the program's boxes say, no game's own launch options are lost, nothing hangs, and afterwards
an undisturbed Apply gives every game its own back."""
import collections
import contextlib
import queue
import random
import re
import time
import unittest
from concurrent.futures import ThreadPoolExecutor

from machine import (APPLIED, EDITED, ESCAPED, GAMES, KEPT, OWN, STORE, TYPED, UNREADABLE, Machine, State,
                     options_in, share, with_options)

WHATS = ("error=EIO", "error=ENOSPC", "error=EACCES", "error=EINTR", "signal=KILL")
# What some calls do, besides: they fail from now on, or tell of other bytes than they moved. The
# driver's own lines are written, too, and so is not every write to fail.
LASTING = ("openat", "read", "fsync", "fdatasync", "rename", "linkat")
MOVING = {"read": ("retval=0",), "write": ("retval=0", "retval=1")}
# Faults of each sweep in an ordinary run: of calls that change something, and of all others.
SHARES = 50, 20
CHANGING = ("write", "rename", "linkat", "unlink", "fsync", "fdatasync", "fchmod", "fchown", "fsetxattr",
            "fremovexattr", "flock", "mkdir")
LONGEST = 5  # seconds that an Apply may take
SCRATCH = "/.scratch-"  # begins the names of the store's scratch folders

# `number` is which one it was of those with its name; `touches`, whether it touches the machine.
Call = collections.namedtuple("Call", "name number line touches")


class TracedMachine(Machine):
    def traced(self, task, strace=()):
        """Runs one Apply under strace: how it ended, what it printed, and its calls in their order."""
        log = self.root / "trace"
        # A process whose calls fail up to its end would spoil the counts of a coverage build, which
        # are added to at the end: it keeps its own.
        coverage = {"GCOV_PREFIX": f"{self.root}/coverage"} if "+" in "".join(strace) else {}
        code, lines = self.apply(task, ("strace", "-y", "-s", "0", "-o", log, *strace), self.swaps,
                                 **coverage)
        seen = collections.Counter()
        calls = []
        for line in log.read_text(errors="replace").splitlines():
            if match := re.match(r"(\w+)\(", line):
                name = match[1]
                seen[name] += 1
                calls.append(Call(name, seen[name], line, str(self.root) in line and name != "execve"))
        return code, lines, calls


class Target:
    """A call of the clean trace: which it is among those with its name that touch the machine. Others
    come and go with the toolkit's moods, so that its number has to be found out."""

    def __init__(self, call, turn):
        self.name, self.number, self.line, self.turn = call.name, call.number, call.line, turn

    def hit(self, machine, state, task, what):
        """An Apply in which it was hit; None when the toolkit's moods never let it be."""
        fault, lasting = what.removesuffix("+"), "+" if what.endswith("+") else ""
        number = self.number
        for _ in range(16):
            machine.set_up(state)
            code, lines, calls = machine.traced(task, ["-e", f"trace={self.name}", "-e",
                                                       f"inject={self.name}:{fault}:when={number}{lasting}"])
            touching = [call.number for call in calls if call.name == self.name and call.touches]
            found = touching[self.turn] if len(touching) > self.turn else None
            if found == number:
                return code, lines
            number = found or number + 1  # without one, another was killed before it
        return None


def targets(calls):
    """The calls between the driver's first line and its last one that touch the machine."""
    written = [n for n, call in enumerate(calls) if call.line.startswith("write(1<")]
    turns = collections.Counter()
    found = []
    for n, call in enumerate(calls):
        if call.touches:
            if written[0] < n < written[-1]:
                found.append(Target(call, turns[call.name]))
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
        """Makes two machines, and the states before anything was applied and after all games were
        enabled."""
        cls.machines = queue.Queue()
        for _ in range(2):
            machine = TracedMachine()
            cls.addClassCleanup(machine.folder.cleanup)
            cls.machines.put(machine)
            cls.fresh = State(machine.original, STORE)
            machine.set_up(cls.fresh)
            machine.apply("enable")  # on both, since the first run of a home fills the fonts' cache
            cls.enabled = State(machine.local_config.read_bytes(), machine.read_store())

    @contextlib.contextmanager
    def a_machine(self):
        machine = self.machines.get()
        try:
            yield machine
        finally:
            self.machines.put(machine)

    def test_without_a_fault_every_kind_of_game_is_changed_as_it_should(self):
        """The sweeps rely on this."""
        before, after = options_in(self.fresh.file), options_in(self.enabled.file)
        self.assertEqual({game: before[game] for game in (*OWN, *ESCAPED)}, {**OWN, **ESCAPED})
        self.assertEqual([game for game in GAMES if game not in before],
                         ["1006", "1007", "1008", "1015", "1016", "1017"])
        for game in EDITED:
            self.assertTrue(after[game].startswith("MARROWPULSE=1 "), after[game])
            self.assertNotEqual(after[game], before.get(game))
        self.assertEqual({game: after[game] for game in ESCAPED}, ESCAPED)
        self.assertEqual(self.enabled.kept(), {**KEPT, **OWN, "88": "-other"})
        self.assertEqual(self.enabled.file,
                         with_options(self.fresh.file, {g: after[g] for g in EDITED}))

    def test_enabling(self):
        self.sweep("enable", self.fresh, EDITED)

    def test_enabling_for_the_first_time(self):
        self.sweep("enable", self.fresh._replace(store=None), EDITED)

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
        state = self.enabled._replace(meanwhile_file=with_options(self.enabled.file, TYPED))
        self.sweep("disable", state, [g for g in EDITED if g not in TYPED or g in self.enabled.kept()])

    def sweep(self, task, state, changed):
        """`changed` names the games that an undisturbed Apply changes."""
        with self.a_machine() as machine:
            machine.set_up(state)
            code, lines, calls = machine.traced(task)
            before, after = map(options_in, (state.at_apply()[0], machine.local_config.read_bytes()))
        self.assertEqual((code, lines[-2]), (0, APPLIED))
        self.assertEqual([game for game in GAMES if before.get(game) != after.get(game)], changed)
        undisturbed = [line.replace(str(machine.root), "") for line in lines[1:-1]]
        wanted = {game: after[game] for game in changed}
        judged = {}

        def one(case):
            """Whether the program told of something that the fault prevented, and what is wrong; None
            when the call was never hit."""
            target, what = case
            with self.a_machine() as machine:
                hit = target.hit(machine, state, task, what)
                if not hit:
                    return None
                code, lines = hit
                boxes = [box.replace(str(machine.root), "") for box in (lines[1:] if code else lines[1:-1])]
                # What cannot be looked at or removed stays for now.
                may_leave = (code != 0 or target.name in ("unlink", "unlinkat", "rmdir", "getdents64")
                             or SCRATCH in target.line or what.endswith("+"))
                is_killed = what == "signal=KILL"
                wrong = machine.judge(state, wanted, boxes, is_killed, may_leave)
                if (code != 0) != is_killed:
                    wrong.append(f"it ended with {code}")
                if code == 0 and int(lines[-1]) > 1000 * LONGEST:
                    wrong.append(f"it took {lines[-1]} ms")
                wrong += machine.judge_afterwards(state, judged)
            return code == 0 and boxes != undisturbed, [f"{what} at {target.line}: {boxes}: {text}"
                                                        for text in wrong]

        cases = [(target, what) for target in targets(calls) for what in whats(target.name)]
        self.assertGreater(len(cases), 300)
        changing = [case for case in cases if case[0].name in CHANGING]
        others = [case for case in cases if case[0].name not in CHANGING]
        shared = share(changing, SHARES[0], self.id()) + share(others, SHARES[1], self.id())
        random.Random(1).shuffle(shared)  # no two threads on one target in a row
        start = time.monotonic()
        with ThreadPoolExecutor(2) as pool:
            results = list(pool.map(one, shared))
        missed = [case[0].line for case, result in zip(shared, results) if result is None]
        results = [result for result in results if result]
        names = collections.Counter(case[0].name for case in shared)
        print(f"{self.id()}: {len(results)} of {len(cases)} faults in {time.monotonic() - start:.0f} s, "
              f"{len(missed)} missed, {sum(refused for refused, _ in results)} refusals; "
              + ", ".join(f"{name} {count}" for name, count in sorted(names.items())))
        self.assertLess(20 * len(missed), len(shared), "calls that were never hit:\n" + "\n".join(missed))
        self.assertEqual([text for _, wrong in results for text in wrong], [])
        self.assertEqual({refused for refused, _ in results}, {False, True})


if __name__ == "__main__":
    unittest.main()
