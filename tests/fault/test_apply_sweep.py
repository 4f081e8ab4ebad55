# SPDX-License-Identifier: MIT
"""Every call of a whole Apply that touches a file fails once with each error, and is once the last
one before the program is killed. The machine has twenty games of six kinds. Whatever happens, Steam's
file is what the program's boxes say, no game's own launch options are lost, nothing hangs, and
afterwards an undisturbed Apply gives every game its own back."""
import collections
import configparser
import os
import queue
import random
import re
import shutil
import subprocess
import time
import unittest

import faults
import machine

WHATS = ("error=EIO", "error=ENOSPC", "error=EACCES", "error=EINTR", "signal=KILL")
# Faults of each sweep in an ordinary run: of calls that change something, and of all others.
SHARES = 26, 10
CHANGING = ("write", "sendfile", "rename", "linkat", "unlink", "fsync", "fchmod", "fchown", "flock")
LONGEST = 5  # seconds that an Apply may take

OWN = {str(n): f"-own{n}" for n in (*range(1001, 1006), *range(1018, 1021))}
ESCAPED = {str(n): f'-name \\"{n}\\" -x' for n in (1013, 1014)}
KEPT = {"1009": "-kept1009", "1010": "-kept1010"}  # of the four that have the program's options
GAMES = [str(n) for n in range(1001, 1021)]
EDITED = [game for game in GAMES if game not in ESCAPED]
STORE = ("[config]\n1001\\framegen=true\n99\\caphz=75\n\n[original]\n"
         + "".join(f"{game}={options}\n" for game, options in KEPT.items()) + "88=-other\n").encode()

BACKUP_FAILED = "Could not write a backup of Steam's config; nothing was changed."
NOT_FOUND = "Could not find Steam's localconfig.vdf."
APPLIED = "Changes applied. Restart Steam now?"
FAILED = "Some changes failed:|"


def options_in(text):
    """The launch options of every game, in a text read as KeyValues: quoted texts with escapes, and
    braces outside them."""
    path, key, found = [], None, {}
    for quoted, brace in re.findall(r'"((?:[^"\\]|\\.)*)"|([{}])', text.decode()):
        if brace == "{":
            path.append(key)
            key = None
        elif brace == "}":
            path.pop()
        elif key is None:
            key = quoted
        else:
            if path[-2:-1] == ["apps"] and key == "LaunchOptions":
                assert path[-1] not in found, f"{path[-1]} has two"
                found[path[-1]] = quoted
            key = None
    assert not path and key is None
    return found


def with_options(text, options):
    """The text in which the games have these options, as the program is to write it."""
    new_blocks = b""
    for game, value in options.items():
        line = b'"LaunchOptions"\t\t"%s"' % value.encode()
        block = re.search(rb'\n(\t+)"%s"\n\1\{\n(.*?)\n\1\}' % game.encode(), text, re.DOTALL)
        if not block:
            new_blocks = b'\n\t\t\t\t\t"%s"\n\t\t\t\t\t{\n\t\t\t\t\t\t%s\n\t\t\t\t\t}' % (
                game.encode(), line) + new_blocks
            continue
        inside, found = re.subn(rb'"LaunchOptions"\t\t"[^"]*"', lambda _, new=line: new, block[2])
        if not found:
            inside = block[1] + b"\t" + line + b"\n" + inside
        text = text[:block.start(2)] + inside + text[block.end(2):]
    apps = text.index(b'"apps"')
    at = text.index(b"{", apps) + 1
    return text[:at] + new_blocks + text[at:]


def originals_in(store):
    parser = configparser.RawConfigParser()
    parser.optionxform = str
    parser.read_string(store.decode())
    return dict(parser["original"]) if parser.has_section("original") else {}


class KindsMachine(machine.Machine):
    """A machine with the games of all kinds, put back to a state before each Apply."""

    def __init__(self):
        super().__init__()
        self.temporary = self.root + "/tmp"

    def set_up(self, local_config, store):
        self.reset(local_config)
        shutil.rmtree(self.temporary, ignore_errors=True)
        os.mkdir(self.temporary)
        if store is not None:
            os.makedirs(os.path.dirname(self.store))
            faults.write(self.store, store)

    def read_store(self):
        return faults.read(self.store) if os.path.exists(self.store) else None

    def left_behind(self):
        """Files that are neither Steam's nor a backup nor the store, after a whole Apply."""
        config = os.path.dirname(self.local_config)
        store = os.path.dirname(self.store)
        left = [name for name in os.listdir(config)
                if name != faults.FILE and ".bak-marrow-" not in name]
        if os.path.isdir(store):
            left += [name for name in os.listdir(store) if name != os.path.basename(self.store)]
        return left + [name for name in os.listdir(self.temporary) if name.startswith("apply-driver")]

    def traced(self, task, strace=()):
        """Runs one Apply under strace: how it ended, what it printed, its calls in their order and
        the seconds that it took."""
        log = self.root + "/trace"
        start = time.monotonic()
        process = subprocess.run(
            [machine.ON_MACHINE, self.root, "strace", "-y", "-s", "0", "-o", log, *strace,
             machine.APPLY_DRIVER, task],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, timeout=120, check=False,
            env=faults.environment("detect_leaks=0", TMPDIR=self.temporary))
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

    def hit(self, pretend, before, task, what):
        """An Apply in which it was hit; none when the toolkit's moods never let it be."""
        for _ in range(16):
            pretend.set_up(*before)
            result = pretend.traced(task, ["-e", f"trace={self.name}", "-e",
                                           f"inject={self.name}:{what}:when={self.number}"])
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


class Sweep(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.machines = queue.Queue()
        for _ in range(2):
            pretend = KindsMachine()
            cls.addClassCleanup(pretend.__exit__)
            cls.machines.put(pretend)
            cls.fresh = faults.read(pretend.local_config)
            pretend.set_up(cls.fresh, STORE)
            pretend.apply("enable")  # on both, since the first run of a home fills the fonts' cache
        cls.enabled = faults.read(pretend.local_config), pretend.read_store()

    def test_the_kinds_of_games(self):
        """What the sweeps go by: before, and after undisturbed Applies."""
        before, after = options_in(self.fresh), options_in(self.enabled[0])
        self.assertEqual({game: before[game] for game in (*OWN, *ESCAPED)}, {**OWN, **ESCAPED})
        self.assertEqual([game for game in GAMES if game not in before],
                         ["1006", "1007", "1008", "1015", "1016", "1017"])
        for game in EDITED:
            self.assertTrue(after[game].startswith("MARROWPULSE=1 "), after[game])
            self.assertNotEqual(after[game], before.get(game))
        self.assertEqual({game: after[game] for game in ESCAPED}, ESCAPED)
        self.assertEqual(originals_in(self.enabled[1]), {**KEPT, **OWN, "88": "-other"})
        self.assertEqual(self.enabled[0], with_options(self.fresh, {g: after[g] for g in EDITED}))

    def test_enabling(self):
        self.sweep("enable", (self.fresh, STORE))

    def test_enabling_for_the_first_time(self):
        self.sweep("enable", (self.fresh, None))

    def test_disabling(self):
        self.sweep("disable", self.enabled)

    def sweep(self, task, before):
        pretend = self.machines.get()
        pretend.set_up(*before)
        code, lines, calls, _ = pretend.traced(task)
        self.assertEqual((code, lines[-2]), (0, APPLIED))
        undisturbed = lines[1:-1]
        wanted = options_in(faults.read(pretend.local_config))
        self.wanted = {game: wanted[game] for game in EDITED}
        self.machines.put(pretend)

        cases = [(target, line, what) for target, line in targets(calls) for what in WHATS]
        self.assertGreater(len(cases), 500)
        is_changing = {True: [], False: []}
        for case in cases:
            is_changing[case[0].name in CHANGING].append(case)
        cases = [case for changing, count in zip((True, False), SHARES)
                 for case in faults.share(is_changing[changing], count)]
        random.Random(1).shuffle(cases)  # no two threads on one target in a row
        start = time.monotonic()
        results = faults.in_parallel(lambda case: self.one(task, before, undisturbed, *case), cases)
        missed = [case[1] for case, result in zip(cases, results) if result is None]
        self.assertLess(20 * len(missed), len(cases), "calls that were never hit:\n" + "\n".join(missed))
        results = [result for result in results if result]
        names = collections.Counter(case[0].name for case in cases)
        print(f"{self.id()}: {len(results)} faults in {time.monotonic() - start:.0f} s, {len(missed)} missed, "
              f"{sum(refused for refused, _ in results)} refusals; "
              + ", ".join(f"{name} {count}" for name, count in sorted(names.items())))
        self.assertEqual([text for _, wrong in results for text in wrong], [])
        self.assertEqual({refused for refused, _ in results}, {False, True})

    def one(self, task, before, undisturbed, target, line, what):
        """Whether the program told of something that the fault prevented, and what is wrong; None when
        the call was never hit."""
        pretend = self.machines.get()
        try:
            own = Target(target, target.turn)
            hit = own.hit(pretend, before, task, what)
            if not hit:
                return None
            code, lines, _, taken = hit
            boxes = lines[1:] if code else lines[1:-1]
            may_leave = code != 0 or own.name in ("unlink", "rmdir") or "/apply-driver-" in line
            wrong = self.judge(pretend, before, what, may_leave, code, boxes)
            if code == 0 and int(lines[-1]) > 1000 * LONGEST:
                wrong.append(f"it took {lines[-1]} ms")
            if taken > 4 * LONGEST:
                wrong.append(f"it took {taken:.1f} s")
            wrong += self.judge_afterwards(pretend)
            line = line.replace(pretend.root, "")
            refused = code == 0 and boxes != undisturbed
            return refused, [f"{what} at {own.name} {own.number}, {line}: {boxes}: {text}"
                             for text in wrong]
        finally:
            self.machines.put(pretend)

    def judge(self, pretend, before, what, may_leave, code, boxes):
        wrong = []
        is_killed = what == "signal=KILL"
        if (code != 0) != is_killed:
            wrong.append(f"it ended with {code}")
        now = faults.read(pretend.local_config)
        named = {part.partition(":")[0] for box in boxes if box.startswith(FAILED)
                 for part in box[len(FAILED):].split("|")}
        everything = with_options(before[0], self.wanted)
        if is_killed:
            expected = before[0], everything
        elif APPLIED in boxes:
            expected = [with_options(before[0], {game: options for game, options
                                                 in self.wanted.items() if game not in named})]
        else:
            expected = [before[0]]
            if boxes not in ([BACKUP_FAILED], [NOT_FOUND]):
                wrong.append("it says nothing")
            if pretend.read_store() != before[1]:
                wrong.append("the store changed, though nothing was to be")
        if now not in expected:
            wrong.append(f"the file is not what is claimed: {options_in(now)}")
        if any(faults.read(backup) != before[0] for backup in pretend.backups()):
            wrong.append("a backup is no copy")
        if APPLIED in boxes and len(pretend.backups()) != 1:
            wrong.append(f"{len(pretend.backups())} backups")
        if pretend.left_behind() and not may_leave:
            wrong.append(f"left behind: {pretend.left_behind()}")

        store = pretend.read_store()
        kept = originals_in(store or b"")
        had = originals_in(before[1] or b"")
        if (any(kept.get(game) != options for game, options in had.items())
                or before[1] and b"99\\caphz=75\n" not in store):
            wrong.append(f"the store lost what it had: {store}")
        old, new = options_in(before[0]), options_in(now)
        for game, options in OWN.items():
            if options not in (new.get(game), kept.get(game)) or (
                    old[game] == options != new[game] and kept.get(game) != options):
                wrong.append(f"{game} has lost its own options: {new.get(game)}, {kept.get(game)}")
        return wrong

    def judge_afterwards(self, pretend):
        """An undisturbed Apply of no game gives each its own options back."""
        kept = originals_in(pretend.read_store() or b"")
        lines = pretend.apply("disable")
        wrong = [f"afterwards: {line}" for line in lines[1:-1] if line != APPLIED]
        now = options_in(faults.read(pretend.local_config))
        for game in GAMES:
            own = OWN.get(game) or ESCAPED.get(game) or (kept.get(game) if game in KEPT else "")
            if now.get(game, "") != (own or ""):
                wrong.append(f"afterwards {game} has {now.get(game)}")
        return wrong


if __name__ == "__main__":
    unittest.main()
