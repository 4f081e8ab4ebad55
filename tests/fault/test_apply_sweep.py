# SPDX-License-Identifier: MIT
"""Every call of a whole Apply that touches a file fails once with each error, fails from then on, says
that it moved fewer bytes, and is once the last one before the program is killed. The machine has
twenty games of six kinds, and Steam's file is a private one behind a link. Whatever happens, the file
is what the program's boxes say, no game's own launch options are lost, nothing hangs, and afterwards
an undisturbed Apply gives every game its own back."""
import collections
import configparser
import contextlib
import glob
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
# What some calls do, besides: they fail from now on, or tell of other bytes than they moved. The
# driver's own lines are written, too, and so is not every write to fail.
LASTING = ("openat", "read", "fsync", "fdatasync", "rename", "linkat")
MOVING = {"read": ("retval=0",), "write": ("retval=0", "retval=1")}
# Faults of each sweep in an ordinary run: of calls that change something, and of all others.
SHARES = 40, 15
CHANGING = ("write", "rename", "linkat", "unlink", "fsync", "fdatasync", "fchmod", "fchown", "fsetxattr",
            "fremovexattr", "flock", "mkdir")
LONGEST = 5  # seconds that an Apply may take

OWN = {str(n): f"-own{n}" for n in (*range(1001, 1006), *range(1018, 1021))}
ESCAPED = {str(n): f'-name \\"{n}\\" -x' for n in (1013, 1014)}
KEPT = {"1009": "-kept1009", "1010": "-kept1010"}  # of the four that have the program's options
GAMES = [str(n) for n in range(1001, 1021)]
EDITED = [game for game in GAMES if game not in ESCAPED]
STORE = ("[config]\n1001\\framegen=true\n99\\caphz=75\n\n[original]\n"
         + "".join(f"{game}={options}\n" for game, options in KEPT.items()) + "88=-other\n").encode()
# Of games that get nothing back, and of one that does.
TYPED = {game: f"-typed{game}" for game in ("1006", "1011", "1015", "1001")}
UNREADABLE = b"(a link to itself)"
ACCESS_LIST = "system.posix_acl_access"
SCRATCH = "/.scratch-"  # begins the names of the store's scratch folders

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


class State(collections.namedtuple("State", "file store meanwhile_file meanwhile_store kept typed",
                                   defaults=(None, None, {}, {}))):
    """What an Apply begins with: the bytes of Steam's file and of the store (none, or UNREADABLE), when
    the window opens and when Apply is pressed (none: the same); which first options the store has
    then, read or not; and what was typed in Steam since the window opened."""

    def at_apply(self):
        return self.meanwhile_file or self.file, self.meanwhile_store or self.store


class KindsMachine(machine.Machine):
    """A machine with the games of all kinds, put back to a state before each Apply. Steam's file is a
    link to one with an access list."""

    def __init__(self):
        super().__init__()
        self.temporary = self.root + "/tmp"
        self.real_file = os.path.join(os.path.dirname(self.local_config), "real.vdf")
        self.original = faults.read(self.local_config)
        os.rename(self.local_config, self.real_file)
        subprocess.run(["setfacl", "-m", "u::rw,g::-,g:8:r,o::-", self.real_file], check=True)
        self.rights = self.rights_of(self.real_file)

    def rights_of(self, path):
        return os.stat(path).st_mode, os.getxattr(path, ACCESS_LIST)

    def set_up(self, state):
        """Whatever the state has for later lies in files that the driver puts in place."""
        for path in glob.glob(glob.escape(os.path.dirname(self.local_config)) + "/*"):
            os.remove(path)
        shutil.rmtree(os.path.dirname(self.store), ignore_errors=True)
        shutil.rmtree(self.temporary, ignore_errors=True)
        os.mkdir(self.temporary)
        os.symlink(os.path.basename(self.real_file), self.local_config)
        self.put(self.real_file, state.file)
        if state.store:
            os.makedirs(os.path.dirname(self.store))
            self.put(self.store, state.store)
        self.swaps = []
        for path, content in ((self.real_file, state.meanwhile_file), (self.store, state.meanwhile_store)):
            if content:
                later = os.path.join(self.root, os.path.basename(path))
                self.put(later, content)
                self.swaps += [later, path]

    def put(self, path, content):
        if os.path.lexists(path):
            os.remove(path)
        if content == UNREADABLE:
            os.symlink(path, path)
            return
        faults.write(path, content)
        if path.endswith(".vdf"):
            os.chmod(path, self.rights[0])
            os.setxattr(path, ACCESS_LIST, self.rights[1])

    def read_store(self):
        if os.path.islink(self.store):
            return UNREADABLE
        return faults.read(self.store) if os.path.exists(self.store) else None

    def left_behind(self):
        """Files that are neither Steam's nor a backup nor the store, after a whole Apply."""
        config = os.path.dirname(self.local_config)
        known = faults.FILE, os.path.basename(self.real_file)
        left = [name for name in os.listdir(config) if name not in known and ".bak-marrow-" not in name]
        return left + self.left_beside_the_store() + os.listdir(self.temporary)

    def left_beside_the_store(self):
        folder = os.path.dirname(self.store)
        names = os.listdir(folder) if os.path.isdir(folder) else []
        return [name for name in names if name != os.path.basename(self.store)]

    def traced(self, task, strace=()):
        """Runs one Apply under strace: how it ended, what it printed, its calls in their order and
        the seconds that it took."""
        log = self.root + "/trace"
        start = time.monotonic()
        process = subprocess.run(
            [machine.ON_MACHINE, self.root, "strace", "-y", "-s", "0", "-o", log, *strace,
             machine.APPLY_DRIVER, task, *self.swaps],
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
            pretend = KindsMachine()
            cls.addClassCleanup(pretend.__exit__)
            cls.machines.put(pretend)
            cls.fresh = State(pretend.original, STORE, kept=KEPT)
            pretend.set_up(cls.fresh)
            pretend.apply("enable")  # on both, since the first run of a home fills the fonts' cache
        store = pretend.read_store()
        cls.enabled = State(faults.read(pretend.local_config), store, kept=originals_in(store))

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
        self.sweep("enable", self.fresh._replace(store=UNREADABLE), [g for g in EDITED if g not in OWN])

    def test_disabling(self):
        self.sweep("disable", self.enabled, EDITED)

    def test_disabling_with_a_store_that_cannot_be_read(self):
        self.sweep("disable", self.enabled._replace(store=UNREADABLE), [])

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
            wrong = self.judge(pretend, state, what, may_leave, code, boxes)
            if code == 0 and int(lines[-1]) > 1000 * LONGEST:
                wrong.append(f"it took {lines[-1]} ms")
            if taken > 4 * LONGEST:
                wrong.append(f"it took {taken:.1f} s")
            wrong += self.judge_afterwards(pretend, state)
            line = line.replace(pretend.root, "")
            refused = code == 0 and boxes != undisturbed
            return refused, [f"{what} at {own.name} {own.number}, {line}: {boxes}: {text}"
                             for text in wrong]

    def judge(self, pretend, state, what, may_leave, code, boxes):
        wrong = []
        file, store = state.at_apply()
        is_killed = what == "signal=KILL"
        if (code != 0) != is_killed:
            wrong.append(f"it ended with {code}")
        now = faults.read(pretend.local_config)
        named = {part.partition(":")[0] for box in boxes if box.startswith(FAILED)
                 for part in box[len(FAILED):].split("|")}
        everything = with_options(file, self.wanted)
        if is_killed:
            expected = file, everything
        elif APPLIED in boxes:
            expected = [with_options(file, {game: options for game, options
                                            in self.wanted.items() if game not in named})]
        else:
            expected = [file]
            if boxes not in ([BACKUP_FAILED], [NOT_FOUND]):
                wrong.append("it says nothing")
            if pretend.read_store() != store:
                wrong.append("the store changed, though nothing was to be")
        if now not in expected:
            wrong.append(f"the file is not what is claimed: {options_in(now)}")
        if not os.path.islink(pretend.local_config):
            wrong.append("the link is gone")
        for path in (pretend.real_file, *pretend.backups()):
            if pretend.rights_of(path) != pretend.rights:
                wrong.append(f"{os.path.basename(path)} has other rights: {pretend.rights_of(path)}")
        if any(faults.read(backup) != file for backup in pretend.backups()):
            wrong.append("a backup is no copy")
        if APPLIED in boxes and len(pretend.backups()) != 1:
            wrong.append(f"{len(pretend.backups())} backups")
        if pretend.left_behind() and not may_leave:
            wrong.append(f"left behind: {pretend.left_behind()}")

        kept = state.kept
        if store == UNREADABLE:
            if pretend.read_store() != UNREADABLE:
                wrong.append("a store that cannot be read was replaced")
        else:
            kept = originals_in(pretend.read_store() or b"")
            if (any(kept.get(game) != options for game, options in state.kept.items())
                    or store and b"99\\caphz=75\n" not in pretend.read_store()):
                wrong.append(f"the store lost what it had: {pretend.read_store()}")
        old, new = options_in(file), options_in(now)
        for game, options in OWN.items():
            if options not in (new.get(game), kept.get(game)) or (
                    old[game] == options != new[game] and kept.get(game) != options):
                wrong.append(f"{game} has lost its own options: {new.get(game)}, {kept.get(game)}")
        return wrong

    def judge_afterwards(self, pretend, state):
        """An undisturbed Apply of no game, with the store that can be read again, gives each its own
        options back."""
        if pretend.read_store() == UNREADABLE:
            pretend.put(pretend.store, self.enabled.store if state.kept == self.enabled.kept else STORE)
        found = faults.read(pretend.local_config), pretend.read_store(), bool(pretend.left_behind())
        if found in self.judged:
            return self.judged[found]
        kept = originals_in(pretend.read_store() or b"")
        lines = pretend.apply("disable")
        wrong = [f"afterwards: {line}" for line in lines[1:-1] if line != APPLIED]
        now = options_in(faults.read(pretend.local_config))
        for game in GAMES:
            own = kept.get(game) or OWN.get(game) or ESCAPED.get(game) or state.typed.get(game, "")
            if now.get(game, "") != own:
                wrong.append(f"afterwards {game} has {now.get(game)}")
        if APPLIED in lines and pretend.left_beside_the_store():
            wrong.append(f"afterwards left: {pretend.left_beside_the_store()}")
        self.judged[found] = wrong
        return wrong


if __name__ == "__main__":
    unittest.main()
