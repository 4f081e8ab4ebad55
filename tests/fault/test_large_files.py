# SPDX-License-Identifier: MIT
"""A large localconfig.vdf costs in proportion to its size, whatever it is made of, with the
regular-expression compiler and without it. Cost is the processor time that the driver uses."""
import os
import unittest

import faults
from faults import APPID, NEW_OPTIONS


class LargeFiles(unittest.TestCase):
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
