# SPDX-License-Identifier: MIT
"""An Apply on file systems that are really full, or nearly so: whatever room there is, the program
tells the truth, and nothing is emptied or cut. The file systems are held in memory and mounted in a
namespace of this test's own."""
import contextlib
import os
import subprocess
import sys
import unittest

import faults
import kindsmachine
from kindsmachine import EDITED

PAGE = 4096
# In pages: too little for any file, for one, for the backup but not for the new file, for all.
FREE = (*range(12), 16, 24, 64)


@contextlib.contextmanager
def disk(folder):
    """Lays a file system of 1 MB over the folder. Yields a function that fills it up, but for so many
    pages, and one that frees it again."""
    filler = os.path.join(folder, "filler")

    def fill(pages):
        room = os.statvfs(folder)
        with open(filler, "wb") as file:
            os.posix_fallocate(file.fileno(), 0, room.f_bavail * room.f_bsize - pages * PAGE)
        room = os.statvfs(folder)
        assert room.f_bavail * room.f_bsize == pages * PAGE

    os.makedirs(folder, exist_ok=True)
    subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1M", "none", folder], check=True)
    try:
        yield fill, lambda: os.remove(filler)
    finally:
        subprocess.run(["umount", folder], check=True)


class FullDisk(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.pretend = kindsmachine.KindsMachine()
        cls.addClassCleanup(cls.pretend.__exit__)
        cls.fresh, cls.enabled = cls.pretend.states()

    def apply_on_every_disk(self, folder, task, state):
        self.pretend.set_up(state)
        undisturbed = self.pretend.apply(task)[1:-1]
        after = kindsmachine.options_in(faults.read(self.pretend.local_config))
        wanted = {game: after[game] for game in EDITED}
        wrong = []
        seen = set()
        for pages in FREE:
            with disk(folder) as (fill, clear):
                self.pretend.set_up(state)
                fill(pages)
                boxes = self.pretend.apply(task)[1:-1]
                clear()
                wrong += [f"{pages} pages free: {boxes}: {text}" for text in (
                    *kindsmachine.judge(self.pretend, state, wanted, boxes),
                    *kindsmachine.judge_afterwards(self.pretend, state, {}))]
                seen.add(tuple(boxes) == tuple(undisturbed))
        print(f"{self.id()}: {len(FREE)} disks")
        self.assertEqual(wrong, [])
        self.assertEqual(seen, {False, True})

    def test_enabling_with_steams_disk_full(self):
        self.apply_on_every_disk(os.path.dirname(self.pretend.local_config), "enable", self.fresh)

    def test_disabling_with_steams_disk_full(self):
        self.apply_on_every_disk(os.path.dirname(self.pretend.local_config), "disable", self.enabled)

    def test_enabling_with_the_stores_disk_full(self):
        self.apply_on_every_disk(os.path.dirname(self.pretend.store), "enable", self.fresh)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--in-namespace"]:
        del sys.argv[1]
        unittest.main()
    # As root of a user namespace of its own, an ordinary user may mount.
    os.execvp("unshare", ["unshare", "--map-root-user", "--mount", sys.executable, __file__,
                          "--in-namespace", *sys.argv[1:]])
