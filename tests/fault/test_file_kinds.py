# SPDX-License-Identifier: MIT
"""Files of every kind in the place of localconfig.vdf: each has its one outcome."""
import os
import stat
import unittest

import faults
from faults import APPID, FILE, NEW_OPTIONS

OLD = faults.sample(5000)
NEW = faults.edited(OLD)


class FileKinds(unittest.TestCase):
    def edit(self, folder, task="edit"):
        """An edit as an ordinary user: root passes every check of permissions."""
        prefix = ()
        if os.geteuid() == 0:
            prefix = faults.AS_NOBODY
            for path, folders, names in os.walk(folder.path):
                for name in (*folders, *names):
                    os.lchown(os.path.join(path, name), faults.NOBODY, faults.NOBODY)
            os.chown(folder.path, faults.NOBODY, faults.NOBODY)
        return faults.ask(task, folder.file, APPID, NEW_OPTIONS, prefix=prefix)

    def assert_edited(self, answer, path):
        self.assertTrue(answer.done, answer.text)
        self.assertEqual(faults.read(path), NEW)

    def assert_refused(self, answer, message, folder, names=(FILE,)):
        self.assertFalse(answer.done)
        self.assertEqual(answer.text, message)
        self.assertEqual(folder.names(), sorted(names))

    def test_a_link_stays_a_link(self):
        with faults.Folder() as folder, faults.Folder(OLD) as elsewhere:
            os.chmod(elsewhere.path, 0o777)
            if os.geteuid() == 0:
                os.chown(elsewhere.file, faults.NOBODY, faults.NOBODY)
            os.symlink(elsewhere.file, folder.file)
            self.assert_edited(self.edit(folder), elsewhere.file)
            self.assertEqual(os.readlink(folder.file), elsewhere.file)
            # The backup stands beside the link, where the path says.
            self.assertEqual(elsewhere.names(), [FILE])
            self.assertEqual([faults.read(path) for path in folder.backups()], [OLD])

    def test_a_link_to_a_link(self):
        with faults.Folder() as folder:
            target = os.path.join(folder.path, "real.vdf")
            faults.write(target, OLD)
            os.symlink("real.vdf", os.path.join(folder.path, "middle.vdf"))
            os.symlink("middle.vdf", folder.file)
            self.assert_edited(self.edit(folder), target)
            self.assertEqual(os.readlink(folder.file), "middle.vdf")
            self.assertEqual(os.readlink(os.path.join(folder.path, "middle.vdf")), "real.vdf")

    def test_a_link_in_a_linked_folder(self):
        with faults.Folder() as folder:
            os.mkdir(os.path.join(folder.path, "real"))
            target = os.path.join(folder.path, "real", FILE)
            faults.write(target, OLD)
            os.symlink("real", os.path.join(folder.path, "config"))
            folder.file = os.path.join(folder.path, "config", FILE)
            self.assert_edited(self.edit(folder), target)
            self.assertEqual(os.readlink(os.path.join(folder.path, "config")), "real")

    def test_a_dangling_link(self):
        with faults.Folder() as folder:
            os.symlink("nowhere.vdf", folder.file)
            self.assert_refused(self.edit(folder), f"cannot open {folder.file}", folder)

    def test_a_loop_of_links(self):
        with faults.Folder() as folder:
            os.symlink(FILE, folder.file)
            self.assert_refused(self.edit(folder), f"cannot open {folder.file}", folder)

    def test_no_file(self):
        with faults.Folder() as folder:
            self.assert_refused(self.edit(folder), f"cannot open {folder.file}", folder, ())

    def test_a_file_that_may_only_be_read(self):
        with faults.Folder(OLD) as folder:
            os.chmod(folder.file, 0o400)
            self.assert_refused(self.edit(folder, "edit-only"), f"cannot write {folder.file}", folder)
            self.assertEqual(faults.read(folder.file), OLD)

    def test_a_file_that_may_not_be_read(self):
        with faults.Folder(OLD) as folder:
            os.chmod(folder.file, 0o200)
            self.assert_refused(self.edit(folder), f"cannot open {folder.file}", folder)
            os.chmod(folder.file, 0o600)
            self.assertEqual(faults.read(folder.file), OLD)

    def test_a_folder_that_may_only_be_read(self):
        for task, message in (("edit-only", "cannot write "), ("edit", "could not write backup for ")):
            with self.subTest(task=task), faults.Folder(OLD) as folder:
                os.chmod(folder.path, 0o500)
                answer = self.edit(folder, task)
                os.chmod(folder.path, 0o700)
                self.assert_refused(answer, message + folder.file, folder)
                self.assertEqual(faults.read(folder.file), OLD)

    def test_the_mode_is_kept(self):
        for mode in (0o600, 0o644, 0o640, 0o660, 0o755):
            with self.subTest(mode=oct(mode)), faults.Folder(OLD) as folder:
                os.chmod(folder.file, mode)
                self.assert_edited(self.edit(folder), folder.file)
                self.assertEqual(stat.S_IMODE(os.stat(folder.file).st_mode), mode)
                backup, = folder.backups()
                self.assertEqual(stat.S_IMODE(os.stat(backup).st_mode), mode)

    def test_an_empty_file(self):
        with faults.Folder(b"") as folder:
            self.assert_refused(self.edit(folder), "no apps section found", folder)
            self.assertEqual(faults.read(folder.file), b"")

    def test_a_folder_in_its_place(self):
        with faults.Folder() as folder:
            os.mkdir(folder.file)
            self.assert_refused(self.edit(folder), f"cannot open {folder.file}", folder)
            self.assertEqual(os.listdir(folder.file), [])

    def test_a_name_that_leaves_no_room_for_a_longer_one(self):
        # The temporary file's name is longer. Where it has none at first, only the commit fails.
        for task, messages in (("edit-only", ("cannot write ", "commit failed for ")),
                               ("edit", ("could not write backup for ",))):
            with self.subTest(task=task), faults.Folder() as folder:
                name = "l" * 249
                folder.file = os.path.join(folder.path, name)
                faults.write(folder.file, OLD)
                answer = self.edit(folder, task)
                self.assertFalse(answer.done)
                self.assertIn(answer.text, [message + folder.file for message in messages])
                self.assertEqual(folder.names(), [name])
                self.assertEqual(faults.read(folder.file), OLD)

    def test_the_longest_name_that_leaves_it(self):
        with faults.Folder() as folder:
            folder.file = os.path.join(folder.path, "l" * 248)
            faults.write(folder.file, OLD)
            self.assert_edited(self.edit(folder, "edit-only"), folder.file)


class LargeFiles(unittest.TestCase):
    """A large file costs in proportion to its size, with the regular-expression compiler and
    without it. Cost is the processor time that the driver uses."""

    megabyte = 1_000_000

    def cost(self, content, expected, jit):
        with faults.Folder(content) as folder:
            best = None
            for _ in range(2):
                faults.write(folder.file, content)
                before = os.times()
                process = faults.run([faults.DRIVER, "edit-only", folder.file, APPID, NEW_OPTIONS],
                                     QT_ENABLE_REGEXP_JIT=jit)
                after = os.times()
                answer = faults.Answer(process)
                self.assertEqual((answer.done, answer.text), (True, ""))
                self.assertEqual(faults.read(folder.file), expected)
                used = (after.children_user + after.children_system
                        - before.children_user - before.children_system)
                best = used if best is None else min(best, used)
            return best

    @staticmethod
    def small(options):
        return faults.sample(300).replace(b'"-old"', f'"{options}"'.encode())

    def assert_proportional(self, content, expected):
        for jit in ("0", "1"):
            with self.subTest(jit=jit):
                small, large = (self.cost(content(size * self.megabyte),
                                          expected(size * self.megabyte), jit) for size in (5, 20))
                print(f"{self.id()}, compiler {jit}: {small:.2f} s for 5 MB, {large:.2f} s for 20 MB")
                # Four times the size; sixteen times the cost would be its square.
                self.assertLess(large, 9 * max(small, 0.02))

    def test_many_sections(self):
        self.assert_proportional(faults.sample, lambda size: faults.edited(faults.sample(size)))

    def test_a_run_of_white_space_behind_the_key(self):
        def content(size, options=faults.OLD_OPTIONS):
            return self.small(options).replace(b'"LaunchOptions"\t\t',
                                                       b'"LaunchOptions"' + b" " * size)
        self.assert_proportional(content, lambda size: content(size, NEW_OPTIONS))

    def test_a_run_of_white_space_behind_the_section(self):
        def content(size, options=faults.OLD_OPTIONS):
            return self.small(options).replace(b'"apps"', b'"apps"' + b"\n" * size)
        self.assert_proportional(content, lambda size: content(size, NEW_OPTIONS))

    def test_a_run_of_white_space_before_the_first_line(self):
        line = f'"LaunchOptions"\t\t"{NEW_OPTIONS}"\n'.encode()
        block = b'"u"\n{\n"apps"\n{\n"620"\n{\n%s%s"Playtime"\t\t"1"\n}\n}\n}\n'
        self.assert_proportional(
            lambda size: block % (b"", b" " * size),
            lambda size: block % (b" " * size + line, b" " * size))

    def test_a_run_of_keys_without_a_block(self):
        def content(size, options=faults.OLD_OPTIONS):
            keys = b'"apps" "620" ' * (size // 13)
            return self.small(options).replace(b'"apps"', keys + b'"apps"', 1)
        self.assert_proportional(content, lambda size: content(size, NEW_OPTIONS))


if __name__ == "__main__":
    unittest.main()
