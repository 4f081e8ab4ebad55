# SPDX-License-Identifier: MIT
"""Every system call that touches a file being written is made to fail, each with every error and
at every place, and afterwards the files are looked at: nothing is damaged and nothing is claimed
that is not so. strace makes the calls fail; it does not perform the ones it tampers with."""
import os
import stat
import unittest

import faults
from faults import APPID, FILE, NEW_OPTIONS, OWN_OPTIONS, inject, share, traced

ERRORS = ("EIO", "ENOSPC", "EDQUOT", "EACCES", "EROFS", "ENOMEM")
# Calls that report how many bytes they moved.
WRITING = ("write", "pwrite64", "sendfile", "copy_file_range")
MESSAGES = ("cannot open ", "could not write backup for ", "cannot write ", "commit failed for ")
OLD = faults.sample(5000)
NEW = faults.edited(OLD)
OLD_STORE = b"[config]\n620\\framegen=true\n\n[original]\n400=-first\n620=-second\n"
HALF_STORES = [OLD_STORE.replace(b"400=", b"%d=-own\n400=" % game) for game in (10, 20)]
NEW_STORE = OLD_STORE.replace(b"400=", b"10=-own\n20=-own\n400=")


class Fault:
    """A call of the clean trace and what is to become of it."""

    def __init__(self, call, what, later=""):
        self.call, self.what, self.later = call, what, later

    def __str__(self):
        return f"{self.call}{self.later} {self.what}"


def clean_trace(setup, task):
    with setup() as folder:
        process, calls = traced(folder.path, task(folder))
        assert faults.Answer(process).done, process.stdout
        return calls


def each_error(calls, count):
    """Every call with every error; in an ordinary run with `count` of them, not always the same."""
    turns = range(len(ERRORS) if faults.LONG else count)
    return [Fault(call, f"error={ERRORS[(n + turn) % len(ERRORS)]}")
            for n, call in enumerate(calls) for turn in turns]


def lasting_errors(calls):
    """The disk fails at one call and stays so for all of its kind."""
    kinds = {*WRITING, "openat", "fsync", "fdatasync", "rename", "linkat", "read"}
    if "UBSAN_OPTIONS" in os.environ:
        kinds.remove("write")  # the sanitizer writes, too, and ends the program when it cannot
    return [Fault(call, f"error={error}", "+") for call in calls for error in ("EIO", "ENOSPC")
            if call.name in kinds]


def short_moves(calls):
    """A write that moves fewer bytes than it says, without an error; a read that ends too early."""
    faulty = []
    for call in calls:
        moved = int(call.line.rsplit("= ", 1)[1]) if call.name in WRITING else 0
        if moved > 1:
            faulty += [Fault(call, f"retval={n}") for n in (1, moved // 2, moved)]
    return faulty + [Fault(call, "retval=0") for call in calls if call.name == "read"]


class Sweep(unittest.TestCase):
    """setup() makes the folder, task() the driver's arguments, judge() names what is wrong."""
    maxDiff = None

    def sweep(self, faulty, setup, task, judge):
        def one(fault):
            with setup() as folder:
                process, calls = traced(folder.path, task(folder),
                                        inject(fault.call, fault.what, fault.later))
                fired = [call for call in calls if "(INJECTED)" in call.line]
                if not any(call.number == fault.call.number for call in fired):
                    return fault, None, ["did not fire"]
                answer = faults.Answer(process)
                return fault, answer, judge(fault, answer, folder)

        results = faults.in_parallel(one, faulty)
        wrong = [f"{fault}: claims {answer and (answer.done, answer.text)}: {text}"
                 for fault, answer, texts in results for text in texts]
        distinct = {str(fault) for fault, _, _ in results}
        refused = sum(not answer.done for _, answer, _ in results if answer)
        print(f"{self.id()}: {len(distinct)} faults fired, {refused} refusals, {len(wrong)} wrong")
        self.assertEqual(wrong, [])
        self.assertEqual(len(distinct), len(faulty))
        self.assertGreater(refused, 0)
        return len(distinct)


def unnoticed_sync(fault, answer):
    """A failed sync makes the answer "no". Only that of the folder after the rename comes too late:
    the new text stands."""
    if not answer.done or fault.call.name != "fsync" or fault.call.is_last:
        return []
    return ["a failed sync goes unnoticed"]


def leftovers(fault, folder, known):
    """Names in the folder that should not be there. What could not be unlinked is still there."""
    names = [n for n in folder.names() if n not in known and ".bak-marrow-" not in n
             and not n.startswith(".scratch-")]  # removed at the next save
    if not names or fault.call.name.startswith("unlink"):
        return []
    return [f"left behind: {names}"]


class EditedFile(Sweep):
    """setLaunchOptions() with its backup, of a private file behind a link."""

    @staticmethod
    def setup():
        folder = faults.Folder()
        target = os.path.join(folder.path, "real.vdf")
        faults.write(target, OLD)
        os.chmod(target, 0o600)
        os.symlink("real.vdf", folder.file)
        return folder

    @staticmethod
    def task(folder):
        return ["edit", folder.file, APPID, NEW_OPTIONS]

    @staticmethod
    def judge(fault, answer, folder):
        wrong = leftovers(fault, folder, (FILE, "real.vdf"))
        wrong += unnoticed_sync(fault, answer)
        target = os.path.join(folder.path, "real.vdf")
        if not os.path.islink(folder.file) or os.readlink(folder.file) != "real.vdf":
            wrong.append("the link is gone")
        if faults.read(target) != (NEW if answer.done else OLD):
            wrong.append("the file is not what is claimed")
        if stat.S_IMODE(os.stat(target).st_mode) != 0o600:
            wrong.append("the mode changed")
        for backup in folder.backups():
            if faults.read(backup) != OLD:
                wrong.append("a backup is no copy")
        if answer.done and len(folder.backups()) != 1:
            wrong.append(f"{len(folder.backups())} backups")
        # The one that may be left is one that could not be removed.
        if "write backup" in answer.text and folder.backups() and "unlink" not in fault.call.name:
            wrong.append("a failed backup is left")
        # A disk on which no write succeeds any more takes no message either.
        if not answer.done and not fault.later and not answer.text.startswith(MESSAGES):
            wrong.append("no such message")
        return wrong

    def test_every_call_fails_with_every_error(self):
        calls = clean_trace(self.setup, self.task)
        self.assertGreaterEqual(len(calls), 50)
        self.sweep(each_error(calls, 2), self.setup, self.task, self.judge)

    def test_an_interrupted_sync_is_done_again(self):
        syncs = [call for call in clean_trace(self.setup, self.task) if call.name == "fsync"]
        self.assertEqual(len(syncs), 4)
        for call in syncs:
            with self.setup() as folder:
                process, calls = traced(folder.path, self.task(folder), inject(call, "error=EINTR"))
                self.assertTrue(faults.Answer(process).done)
                self.assertEqual([("INJECTED" in line, done.number) for done in calls
                                  if done.name == "fsync" for line in [done.line]],
                                 [(n == call.number, n) for n in range(1, 6)])
                self.assertEqual(faults.read(folder.file), NEW)

    def test_the_disk_fails_and_stays_so(self):
        faulty = lasting_errors(clean_trace(self.setup, self.task))
        self.sweep(share(faulty, 15), self.setup, self.task, self.judge)

    def test_fewer_bytes_move_than_reported(self):
        faulty = short_moves(clean_trace(self.setup, self.task))
        self.sweep(share(faulty, 15), self.setup, self.task, self.judge)


class Store(Sweep):
    """Two more games' own options into a store that holds two already."""

    @staticmethod
    def setup():
        folder = faults.Folder()
        faults.write(os.path.join(folder.path, "Marrowpulse.conf"), OLD_STORE)
        return folder

    @staticmethod
    def task(folder):
        return ["remember", os.path.join(folder.path, "Marrowpulse.conf"), OWN_OPTIONS, "10", "20"]

    @staticmethod
    def judge(fault, answer, folder):
        wrong = leftovers(fault, folder, ("Marrowpulse.conf",))
        if ".scratch-" not in fault.call.line:
            wrong += unnoticed_sync(fault, answer)
        content = faults.read(os.path.join(folder.path, "Marrowpulse.conf"))
        # Where one of the two does not come back from the scratch copy, the other one is kept.
        if content not in ([NEW_STORE] if answer.done else [OLD_STORE, *HALF_STORES]):
            wrong.append(f"the store is not what is claimed: {content}")
        return wrong

    def test_every_call_fails_with_every_error(self):
        faulty = each_error(clean_trace(self.setup, self.task), 1)
        self.sweep(faulty, self.setup, self.task, self.judge)

    def test_the_disk_fails_and_stays_so(self):
        faulty = lasting_errors(clean_trace(self.setup, self.task))
        self.sweep(share(faulty, 40), self.setup, self.task, self.judge)

    def test_fewer_bytes_move_than_reported(self):
        faulty = short_moves(clean_trace(self.setup, self.task))
        self.sweep(share(faulty, 15), self.setup, self.task, self.judge)


class PlainSave(unittest.TestCase):
    """The control: the same faults do find the false success of an ordinary save."""

    def false_successes(self, faulty):
        found = 0
        for fault in faulty:
            with faults.Folder(OLD) as folder:
                process, calls = traced(folder.path, self.task(folder),
                                        inject(fault.call, fault.what))
                self.assertTrue(any("(INJECTED)" in call.line for call in calls), str(fault))
                if faults.Answer(process).done:
                    synced = "sync" not in fault.call.name
                    found += not synced or faults.read(folder.file) != NEW
        return found

    @staticmethod
    def task(folder):
        return ["plain", folder.file, APPID, NEW_OPTIONS]

    def setUp(self):
        self.calls = clean_trace(lambda: faults.Folder(OLD), self.task)

    def test_full_disk(self):
        writes = [Fault(c, "error=ENOSPC") for c in self.calls if c.name == "write"]
        faults.judge_plain_saves(self, self.false_successes(writes))

    def test_short_write(self):
        self.assertGreater(self.false_successes(short_moves(self.calls)), 0)

    def test_failing_sync(self):
        syncs = [Fault(c, "error=EIO") for c in self.calls if "sync" in c.name]
        self.assertGreater(self.false_successes(syncs), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
