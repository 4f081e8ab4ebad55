# SPDX-License-Identifier: MIT
"""A malformed settings store never stops the program from starting, and applying on top of one
loses no game's own launch options."""
import os
import random
import unittest

import faults
import machine

GAMES = ("1001", "1002", "1003")
FIELDS = ("upscaling=true", "renderW=1280", "renderH=720", "outputW=1920", "outputH=1080",
          "framegen=true", "fgbackend=0", "holdback=1", "framecap=true", "caphz=0",
          "renderres=true", "pacing=0", "debugoverlay=false")
WHOLE = ("[config]\n" + "".join(f"{game}\\{field}\n" for game in GAMES for field in FIELDS)
         + "\n[original]\n1002=-own1002\n").encode()
WRONG_VALUES = (b"", b"x", b"-1", b"99999999999999999999", b"1e9", b"nan", b"a, b, c", b'"', b'"open',
                b"\\x", b"\\x110000", b"@", b"@Invalid()", b"@ByteArray(\\0\\xff)",
                b"@Variant(\\0\\0\\0\\x7f)", b"@Variant(\\0\\0\\0\\x9\\xff\\xff\\xff\\xff)",
                b"@Rect(1 2 3)", b"@Size(a b)", b"@DateTime(\\0)", b"@@", b"\xff\xfe", b"\0", b"%zz",
                b"a" * 70000)


def cut_stores():
    return [WHOLE[:length] for length in range(len(WHOLE))]


def random_stores():
    source = random.Random(20240607)
    stores = []
    for n in range(200):
        if n % 2:
            stores.append(source.randbytes(source.randrange(1, 3000)))
        else:
            text = bytearray(WHOLE)
            for _ in range(source.randrange(1, 40)):
                text[source.randrange(len(text))] = source.randrange(256)
            stores.append(bytes(text))
    return stores


def stores_of_wrong_types():
    fields = [WHOLE.replace(b"framegen=true", b"framegen=" + value).replace(b"=1280", b"=" + value)
              for value in WRONG_VALUES]
    originals = [WHOLE.replace(b"1002=-own1002", b"1002=" + value) for value in WRONG_VALUES]
    return fields + originals + [
        b"", b"[", b"[]", b"[config", b"]", b"=", b"%", b"[config]\n1001=7\n1001\\framegen=true\n",
        b"[config]\n" * 5000, b"[original]\n1001\\x=1\n", WHOLE.replace(b"\n", b"\r\n"),
        WHOLE.replace(b"\n", b"\r"), b"\xef\xbb\xbf" + WHOLE, WHOLE.decode().encode("utf-16")]


class MalformedStore(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = machine.Machine(len(GAMES))
        cls.addClassCleanup(cls.machine.__exit__)
        cls.before = faults.read(cls.machine.local_config)

    def assert_starts(self, store):
        self.machine.reset(self.before)
        os.makedirs(os.path.dirname(self.machine.store))
        faults.write(self.machine.store, store)
        self.assertEqual(self.machine.apply("start"), ["Marrowpulse"], store[:300])
        self.assertEqual(faults.read(self.machine.store), store)

    def each_starts(self, stores, count):
        stores = faults.share(stores, count)
        for store in stores:
            self.assert_starts(store)
        print(f"{self.id()}: {len(stores)} stores")

    def test_cut(self):
        self.each_starts(cut_stores(), 25)

    def test_random_bytes(self):
        self.each_starts(random_stores(), 25)

    def test_wrong_types(self):
        self.each_starts(stores_of_wrong_types(), 25)

    def test_no_file_in_its_place(self):
        for make in (os.mkdir, lambda path: os.symlink(path, path),
                     lambda path: os.symlink("/dev/null", path)):
            self.machine.reset(self.before)
            os.makedirs(os.path.dirname(self.machine.store))
            make(self.machine.store)
            self.assertEqual(self.machine.apply("start"), ["Marrowpulse"])

    def test_applying_loses_no_own_options(self):
        stores = faults.share(cut_stores() + random_stores() + stores_of_wrong_types(), 30)
        for store in stores:
            self.machine.reset(self.before)
            os.makedirs(os.path.dirname(self.machine.store))
            faults.write(self.machine.store, store)
            lines = self.machine.apply("enable")
            self.assertEqual(lines[-2], "Changes applied. Restart Steam now?", store[:300])
            now = faults.read(self.machine.local_config)
            kept = faults.read(self.machine.store)
            for game in ("1001", "1003"):
                # What a store already keeps for a game, be it malformed, is kept as it is.
                if b"%s=" % game.encode() in store.partition(b"[original]")[2]:
                    continue
                self.assertTrue(f'"-own{game}"'.encode() in now
                                or f"{game}=-own{game}".encode() in kept,
                                f"{game} has lost its options: {store[:300]}, now {kept[:300]}")


if __name__ == "__main__":
    unittest.main()
