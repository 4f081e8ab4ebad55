# SPDX-License-Identifier: MIT
"""The order in which one edit reaches the disk, read from a trace of its system calls."""
import os
import unittest

import faults
from faults import APPID, NEW_OPTIONS, OWN_OPTIONS, traced


def steps(folder, calls):
    """What the syncs and renames of a trace do, in words."""
    found = []
    for call in calls:
        if call.name in ("fsync", "fdatasync"):
            kind = "sync"
        elif call.name in ("rename", "renameat", "renameat2"):
            kind = "rename"
        elif call.name == "linkat" and ".bak-marrow-" in call.line:
            kind = "name"
        else:
            continue
        if f"<{folder}>)" in call.line:
            what = "folder"
        elif ".bak-marrow-" in call.line:
            what = "backup"
        elif "#" in call.line or faults.FILE + "." in call.line or ".conf." in call.line:
            what = "temporary"
        else:
            what = "file"
        found.append(f"{kind} {what}")
    return found


class CallOrder(unittest.TestCase):
    def test_the_backup_then_the_new_text_then_its_name(self):
        with faults.Folder(faults.sample(5000)) as folder:
            process, calls = traced(folder.path, ["edit", folder.file, APPID, NEW_OPTIONS])
            self.assertTrue(faults.Answer(process).done)
            order = steps(folder.path, calls)
        self.assertTrue(is_subsequence(
            ["sync temporary", "name backup", "sync folder", "sync temporary", "rename temporary",
             "sync folder"],
            order), order)
        self.assertEqual(order[-2:], ["rename temporary", "sync folder"])
        self.assertEqual(order.count("rename temporary"), 1)

    def test_the_temporary_file_is_whole_before_it_is_synced(self):
        with faults.Folder(faults.sample(50000)) as folder:
            _, calls = traced(folder.path, ["edit-only", folder.file, APPID, NEW_OPTIONS])
        names = [call.name for call in calls]
        self.assertIn("write", names)
        last_write = len(names) - names[::-1].index("write") - 1
        self.assertLess(last_write, names.index("fsync"))
        self.assertLess(names.index("fsync"), names.index("rename"))

    def test_nothing_is_opened_for_writing_before_the_backup_stands(self):
        with faults.Folder(faults.sample(5000)) as folder:
            _, calls = traced(folder.path, ["edit", folder.file, APPID, NEW_OPTIONS])
            order = [call.line for call in calls]
        backup_named = next(i for i, line in enumerate(order)
                            if line.startswith("linkat") and ".bak-marrow-" in line)
        for line in order[:backup_named]:
            if line.startswith("openat") and "O_RDONLY" not in line:
                # The backup's own temporary file has no name in the folder.
                self.assertIn("O_TMPFILE", line)

    def test_the_store_is_replaced_as_steams_file_is(self):
        with faults.Folder() as folder:
            path = os.path.join(folder.path, "store.conf")
            faults.write(path, b"[original]\n400=-first\n")
            process, calls = traced(folder.path, ["remember", path, OWN_OPTIONS, "10"])
            self.assertTrue(faults.Answer(process).done)
            own = [call for call in calls if folder.path in call.line
                   and ".scratch-" not in call.line]
            lines = [call.line for call in own]
            order = steps(folder.path, own)
        self.assertEqual(order[0], "sync temporary")
        self.assertEqual(order[-2:], ["rename temporary", "sync folder"])
        self.assertEqual(order.count("rename temporary"), 1)
        # The store's own name is only read.
        for line in lines:
            if line.startswith("openat") and "O_RDONLY" not in line:
                self.assertRegex(line, r"O_TMPFILE|store\.conf\.")


def is_subsequence(wanted, order):
    rest = iter(order)
    return all(step in rest for step in wanted)


if __name__ == "__main__":
    unittest.main()
