# SPDX-License-Identifier: MIT
"""Saving on file systems that are really full, or nearly so: whatever room there is, the answer is
true and nothing is emptied or cut. The file systems are held in memory and mounted in a namespace
of this test's own."""
import os
import subprocess
import sys
import unittest

import faults
from faults import APPID, FILE, NEW_OPTIONS, OWN_OPTIONS

PAGE = 4096
FREE = (0, PAGE, 2 * PAGE, 4 * PAGE, 5 * PAGE, 16 * PAGE, 256 * PAGE)
# The sizes of the new file. 16,384 bytes is what Qt holds back before it writes anything.
PAYLOADS = (1000, 5000, 16384, 16385, 40000, 300000)


class Disk(faults.Folder):
    """A file system of 4 MB with one file in it, filled up to the free bytes that are asked for."""

    def __init__(self, content, free, name=FILE):
        super().__init__()
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4M", "none", self.path], check=True)
        if content is not None:
            self.file = os.path.join(self.path, name)
            faults.write(self.file, content)
        room = os.statvfs(self.path)
        filler = room.f_bavail * room.f_bsize - free
        with open(os.path.join(self.path, "filler"), "wb") as file:
            os.posix_fallocate(file.fileno(), 0, filler)
        room = os.statvfs(self.path)
        assert room.f_bavail * room.f_bsize == free

    def __exit__(self, *error):
        subprocess.run(["umount", self.path], check=True)
        super().__exit__(*error)


def pages(size):
    return -(-size // PAGE) * PAGE


class SteamsFile(unittest.TestCase):
    maxDiff = None

    def on_every_disk(self, task, needed):
        """`needed` tells from the new size how much room the task takes."""
        wrong = []
        for payload in PAYLOADS:
            new = faults.edited(faults.sample(payload - len(NEW_OPTIONS) + len(faults.OLD_OPTIONS)))
            old = faults.sample(payload - len(NEW_OPTIONS) + len(faults.OLD_OPTIONS))
            self.assertEqual(len(new), payload)
            for free in FREE:
                with Disk(old, free) as disk:
                    answer = faults.ask(task, disk.file, APPID, NEW_OPTIONS)
                    what = f"{payload} bytes, {free} free: claims {answer.done} {answer.text}: "
                    if faults.read(disk.file) != (new if answer.done else old):
                        wrong.append(what + "the file is not what is claimed")
                    if answer.done != (needed(payload) <= free):
                        wrong.append(what + "there is room" if free else what + "there is none")
                    if any(faults.read(backup) != old for backup in disk.backups()):
                        wrong.append(what + "a backup is no copy")
                    if [n for n in disk.names() if n not in (FILE, "filler") and ".bak" not in n]:
                        wrong.append(what + f"left behind: {disk.names()}")
        print(f"{self.id()}: {len(FREE) * len(PAYLOADS)} disks")
        self.assertEqual(wrong, [])

    def test_edit(self):
        self.on_every_disk("edit-only", pages)

    def test_edit_with_a_backup(self):
        self.on_every_disk("edit", lambda size: pages(size) + pages(size - 20))

    def test_the_control_finds_false_success(self):
        """A plain save on the same disks empties the file (with older Qt) or cuts it, and reports success."""
        emptied = cut = 0
        for payload in PAYLOADS:
            old = faults.sample(payload)
            for free in FREE:
                with Disk(old, free) as disk:
                    if faults.ask("plain", disk.file, APPID, NEW_OPTIONS).done:
                        now = faults.read(disk.file)
                        emptied += not now
                        cut += bool(now) and now != faults.edited(old)
        faults.judge_plain_saves(self, emptied)
        self.assertGreater(cut, 0)


class SettingsStore(unittest.TestCase):
    maxDiff = None

    def test_own_options_are_added_or_the_file_stays(self):
        wrong = []
        claims = set()
        for payload in PAYLOADS:
            note = "-first " * (payload // 7)
            note = note[:payload - len("[original]\n10=-own\n400=\n")]
            old = f"[original]\n400={note}\n".encode()
            new = f"[original]\n10=-own\n400={note}\n".encode()
            self.assertEqual(len(new), payload)
            for free in FREE:
                with Disk(old, free, name="store.conf") as disk:
                    answer = faults.ask("remember", disk.file, OWN_OPTIONS, "10")
                    claims.add(answer.done)
                    # Of 16,385 bytes all but the last line end may have found room.
                    if faults.read(disk.file).rstrip() != (new if answer.done else old).rstrip():
                        wrong.append(f"{payload} bytes, {free} free: claims {answer.done}: "
                                     f"{len(faults.read(disk.file))} bytes")
                    if disk.names() != ["filler", "store.conf"]:
                        wrong.append(f"{payload} bytes, {free} free: left {disk.names()}")
        print(f"{self.id()}: {len(FREE) * len(PAYLOADS)} disks")
        self.assertEqual(wrong, [])
        self.assertEqual(claims, {False, True})


if __name__ == "__main__":
    if sys.argv[1:2] == ["--in-namespace"]:
        del sys.argv[1]
        unittest.main()
    # As root of a user namespace of its own, an ordinary user may mount.
    os.execvp("unshare", ["unshare", "--map-root-user", "--mount", sys.executable, __file__,
                          "--in-namespace", *sys.argv[1:]])
