# SPDX-License-Identifier: MIT
"""A malformed settings store never stops the program, and applying on top of one loses no game's own
launch options."""
import os
import random
import unittest

from machine import APPLIED, GAMES, OWN, Machine, State, options_in, share

FIELDS = ("upscaling=true", "renderW=1280", "renderH=720", "outputW=1920", "outputH=1080",
          "framegen=true", "fgbackend=0", "holdback=1", "framecap=true", "caphz=0",
          "renderres=true", "pacing=0", "debugoverlay=false")
WHOLE = ("[config]\n" + "".join(f"{game}\\{field}\n" for game in GAMES[:3] for field in FIELDS)
         + "\n[original]\n1002=-own1002\n").encode()
WRONG_VALUES = (b"", b"x", b"-1", b"99999999999999999999", b"1e9", b"nan", b"a, b, c", b'"', b'"open',
                b"\\x", b"\\x110000", b"@", b"@Invalid()", b"@ByteArray(\\0\\xff)",
                b"@Variant(\\0\\0\\0\\x7f)", b"@Variant(\\0\\0\\0\\x9\\xff\\xff\\xff\\xff)",
                b"@Rect(1 2 3)", b"@Size(a b)", b"@DateTime(\\0)", b"@@", b"\xff\xfe", b"\0", b"%zz",
                b"a" * 70000)


def random_stores():
    source = random.Random(20240607)
    for _ in range(100):
        yield source.randbytes(source.randrange(1, 3000))
        text = bytearray(WHOLE)
        for _ in range(source.randrange(1, 40)):
            text[source.randrange(len(text))] = source.randrange(256)
        yield bytes(text)


def stores_of_wrong_types():
    for value in WRONG_VALUES:
        yield WHOLE.replace(b"framegen=true", b"framegen=" + value).replace(b"=1280", b"=" + value)
        yield WHOLE.replace(b"1002=-own1002", b"1002=" + value)
    yield from (
        b"", b"[", b"[]", b"[config", b"]", b"=", b"%", b"[config]\n1001=7\n1001\\framegen=true\n",
        b"[config]\n" * 5000, b"[original]\n1001\\x=1\n", WHOLE.replace(b"\n", b"\r\n"),
        WHOLE.replace(b"\n", b"\r"), b"\xef\xbb\xbf" + WHOLE, WHOLE.decode().encode("utf-16"))


class MalformedStore(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = Machine()
        cls.addClassCleanup(cls.machine.folder.cleanup)

    def assert_applies(self, store):
        """Ticks every game and applies."""
        code, lines = self.machine.apply("enable")
        self.assertEqual((code, lines[-2:-1]), (0, [APPLIED]), store[:300])
        now = options_in(self.machine.local_config.read_bytes())
        kept = self.machine.read_store() or b""
        for game, options in OWN.items():
            # What a store already keeps for a game, be it malformed, is kept as it is.
            if f"{game}=".encode() not in store.partition(b"[original]")[2]:
                self.assertTrue(now[game] == options or f"{game}={options}".encode() in kept,
                                f"{game} has lost its options: {store[:300]}, now {kept[:300]}")

    def each_applies(self, stores):
        for store in share(list(stores), 25, self.id()):
            self.machine.set_up(State(self.machine.original, store))
            self.assert_applies(store)

    def test_a_store_that_was_cut(self):
        self.each_applies(WHOLE[:length] for length in range(len(WHOLE)))

    def test_a_store_with_random_bytes(self):
        self.each_applies(random_stores())

    def test_a_store_with_wrong_values(self):
        self.each_applies(stores_of_wrong_types())

    def test_a_folder_or_a_link_in_the_stores_place(self):
        for make in (os.mkdir, lambda path: os.symlink(path, path),
                     lambda path: os.symlink("/dev/null", path)):
            self.machine.set_up(State(self.machine.original, b""))
            self.machine.store.unlink()
            make(self.machine.store)
            self.assert_applies(b"")


if __name__ == "__main__":
    unittest.main()
