# SPDX-License-Identifier: MIT
"""Steam's client and its command do not do what is asked of them: nothing is written while the
client is there, and nothing but its going counts."""
import os
import shutil
import signal
import subprocess
import time
import unittest

import faults
import machine

QUESTION = "Steam stores launch options in a file it rewrites on exit"
APPLIED = "Changes applied. Restart Steam now?"


class SteamClient(unittest.TestCase):
    def setUp(self):
        self.machine = machine.Machine(3)
        self.addCleanup(self.machine.__exit__)
        self.before = faults.read(self.machine.local_config)

    def start_client(self):
        """A child of this test whose executable is called steam: it stays a zombie when it ends,
        until this test asks for it."""
        client = os.path.join(self.machine.root, "client", "steam")
        os.mkdir(os.path.dirname(client))
        shutil.copy(faults.DRIVER, client)
        process = subprocess.Popen([client, "wait"])
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        faults.write(self.machine.root + "/home/.steam/steam.pid", f"{process.pid}\n".encode())
        return process

    def add_command(self, script):
        path = self.machine.root + "/bin/steam"
        faults.write(path, b"#!/bin/sh\n" + script.encode())
        os.chmod(path, 0o755)

    def ask_driver(self, *arguments):
        return faults.run([machine.ON_MACHINE, self.machine.root, faults.DRIVER, *arguments])

    def assert_nothing_changed(self):
        self.assertEqual(faults.read(self.machine.local_config), self.before)
        self.assertEqual(self.machine.backups(), [])
        self.assertFalse(os.path.exists(self.machine.store))

    def assert_applied(self, lines):
        self.assertEqual(lines[-2], APPLIED)
        self.assertEqual(faults.read(self.machine.local_config).count(b"MARROWPULSE=1 "), 3)

    def test_a_client_that_was_not_reaped_is_gone(self):
        client = self.start_client()
        os.kill(client.pid, signal.SIGKILL)
        os.waitid(os.P_PID, client.pid, os.WEXITED | os.WNOWAIT)
        self.assertIn("State:\tZ", faults.read(f"/proc/{client.pid}/status").decode())
        lines = self.machine.apply("enable")
        self.assertEqual(len(lines), 3, lines)
        self.assert_applied(lines)

    def test_a_client_that_ignores_the_request(self):
        self.start_client()
        self.add_command("exit 0\n")
        self.assertEqual(self.ask_driver("shutdown", "1").returncode, 1)
        self.assert_nothing_changed()

    def test_a_missing_command(self):
        self.start_client()
        self.assertEqual(self.ask_driver("shutdown", "1").returncode, 1)
        self.assert_nothing_changed()

    def test_a_failing_command(self):
        self.start_client()
        self.add_command("exit 3\n")
        self.assertEqual(self.ask_driver("shutdown", "1").returncode, 1)
        self.assert_nothing_changed()

    def test_a_slow_command_is_not_waited_for(self):
        self.start_client()
        mark = self.machine.root + "/slow"
        self.add_command(f"echo $$ > {mark}.new\nmv {mark}.new {mark}\nexec sleep 600 > /dev/null 2>&1\n")
        start = time.monotonic()
        answer = self.ask_driver("shutdown", "1")
        self.assertLess(time.monotonic() - start, 60)
        self.addCleanup(lambda: os.kill(int(self.wait_for(mark)), signal.SIGKILL))
        self.assertEqual(answer.returncode, 1)
        self.assert_nothing_changed()

    def apply_while_running(self, then):
        """Applies with the client there; `then` is called once its closing was asked for."""
        client = self.start_client()
        with self.machine.start("enable") as process:
            pid = process.stdout.readline()
            asked = process.stdout.readline()
            self.assertTrue(asked.startswith(QUESTION), asked)
            self.assert_nothing_changed()
            then(client)
            return [pid, asked, *process.stdout.read().splitlines()]

    def test_applying_waits_for_the_client_and_not_for_the_command(self):
        for name, script in (("missing", None), ("failing", "exit 3\n"), ("silent", "exit 0\n")):
            with self.subTest(name):
                if script:
                    self.add_command(script)
                self.assert_applied(self.apply_while_running(lambda client: client.kill()))
                self.machine.reset(self.before)
                shutil.rmtree(os.path.join(self.machine.root, "client"))

    def test_the_started_client_outlives_the_program_and_holds_none_of_its_files(self):
        mark = self.machine.root + "/started"
        self.add_command(f"readlink /proc/$$/fd/* > {mark}.new\necho $$ >> {mark}.new\n"
                         f"mv {mark}.new {mark}\nexec sleep 600 > /dev/null 2>&1\n")
        answer = self.ask_driver("start-steam", self.machine.local_config)
        *held, pid = self.wait_for(mark).splitlines()
        self.addCleanup(lambda: os.kill(int(pid), signal.SIGKILL))
        self.assertEqual(answer.returncode, 0)
        # The program has ended.
        self.assertNotIn("State:\tZ", faults.read(f"/proc/{pid}/status").decode())
        self.assertNotEqual(os.getsid(int(pid)), os.getsid(0))
        own = [path for path in held if path.startswith(self.machine.root)
               and not path.startswith((self.machine.root + "/bin/steam", mark))]
        self.assertEqual(own, [])

    def wait_for(self, path):
        end = time.monotonic() + 30
        while not os.path.exists(path):
            self.assertLess(time.monotonic(), end, f"no {path}")
            time.sleep(0.01)
        return faults.read(path).decode()


if __name__ == "__main__":
    faults.main_in_namespace(unittest.main, __file__)
