# SPDX-License-Identifier: MIT
"""How the program is hardened, by its executable and by the commands that compile it."""
import json
import os
import pathlib
import re
import shlex
import subprocess
import tempfile
import unittest

SOURCES = pathlib.Path(__file__).resolve().parents[2] / "src"
BUILD = pathlib.Path(os.environ["MARROWPULSE_BUILD"])


def readelf(what):
    return subprocess.run(["readelf", "--wide", what, BUILD / "marrowpulse"], capture_output=True,
                          text=True, check=True).stdout


class Hardening(unittest.TestCase):
    def test_the_executable_is_hardened(self):
        dynamic = dict(re.findall(r"\((\w+)\) +(.*)", readelf("--dynamic")))
        segments = dict(re.findall(r"^  (GNU_\w+) +(?:0x\w+ +){5}(\w+)", readelf("--segments"), re.M))
        self.assertIn("PIE", dynamic["FLAGS_1"])
        # What the linker resolves is read-only before the program starts.
        self.assertIn("NOW", dynamic["FLAGS_1"])
        self.assertEqual(segments.get("GNU_RELRO"), "R")
        self.assertNotIn("TEXTREL", (*dynamic, *dynamic.get("FLAGS", "").split()))
        self.assertEqual(segments.get("GNU_STACK"), "RW")
        self.assertIn("__stack_chk_fail", re.findall(r"\w+(?=@)", readelf("--dyn-syms")))

    def test_every_source_is_fortified_and_its_stack_protected(self):
        """Asks the compiler which macros it defines under the flags of each source."""
        commands = json.loads((BUILD / "compile_commands.json").read_text())
        sources = [entry for entry in commands if SOURCES in pathlib.Path(entry["file"]).parents]
        self.assertGreater(len(sources), 10)
        for flags in {entry["command"].partition(" -o ")[0] for entry in sources}:
            macros = subprocess.run([*shlex.split(flags), "-E", "-dM", "-x", "c++", "/dev/null"],
                                    capture_output=True, text=True, check=True).stdout
            with self.subTest(flags):
                self.assertIn(re.findall(r"#define _FORTIFY_SOURCE (.*)", macros), (["2"], ["3"]))
                self.assertEqual(len(re.findall(r"#define __SSP_(?:STRONG|ALL)__ ", macros)), 1)

    def test_a_build_of_several_configurations_is_fortified_where_it_is_optimised(self):
        with tempfile.TemporaryDirectory(prefix="marrowpulse-hardening.") as folder:
            subprocess.run(["cmake", "-S", SOURCES.parent, "-B", folder, "-G", "Ninja Multi-Config"],
                           check=True, stdout=subprocess.DEVNULL)
            commands = json.loads(pathlib.Path(folder, "compile_commands.json").read_text())
        fortified = {(re.search(r"CMAKE_INTDIR=\W*(\w+)", entry["command"])[1],
                      "-D_FORTIFY_SOURCE=2" in entry["command"]) for entry in commands}
        self.assertEqual(fortified, {("Debug", False), ("Release", True), ("RelWithDebInfo", True)})


if __name__ == "__main__":
    unittest.main()
