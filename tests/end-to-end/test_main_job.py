# SPDX-License-Identifier: MIT
"""The program's main job, from the window into Steam's file and back, with a real client."""
import unittest

from case import (AMBER_TIDES, CLOSE_STEAM, NOTHING_PENDING, PENDING, RESTART_STEAM, ProgramTestCase,
                  choose_a_larger_output, composed)
from desktop import Atspi, has_state, wait_for

OWN = "mangohud %command%"
# The automatic cap is three quarters of the 85 Hz that xrandr reports on this desktop.
COMPOSED = composed("2560x1440", 64)


def as_written_on_exit(content):
    """Steam's file as the client writes it when it exits: with one more line at its top."""
    head, brace, rest = content.partition(b"{\n")
    return head + brace + b'\t"ExitCount"\t\t"1"\n' + rest


class MainJob(ProgramTestCase):
    def apply(self, restart):
        self.app.press("Apply")
        self.app.answer(CLOSE_STEAM, "Yes")
        self.app.answer(RESTART_STEAM, restart)
        self.app.wait("label", NOTHING_PENDING)

    def test_a_game_gets_its_options_and_its_own_ones_back(self):
        first = self.machine.local_config.read_bytes()
        self.app.tick("Amber Tides")
        self.app.wait("label", PENDING)
        choose_a_larger_output(self.app)
        self.apply(restart="Yes")

        exited = as_written_on_exit(first)
        self.assertEqual(self.machine.local_config.read_bytes(),
                         exited.replace(OWN.encode(), COMPOSED.encode()))
        self.assertEqual([backup.read_bytes() for backup in self.machine.backups()], [exited])
        wait_for(self.machine.client_runs, "the restarted client")

        self.app.tick("Amber Tides")
        self.app.wait("label", PENDING)
        self.apply(restart="No")
        self.assertEqual(self.machine.local_config.read_bytes(), as_written_on_exit(exited))
        self.assertEqual(len(self.machine.backups()), 2)
        self.assertFalse(self.machine.client_runs())


class WhileApplyWorks(ProgramTestCase):
    # A disk on which each sync takes a second: what is pressed arrives while Apply works.
    through = ("strace", "-f", "--seccomp-bpf", "-qq", "-o", "/dev/null", "-e", "trace=fsync",
               "-e", "inject=fsync:delay_exit=1000000")

    def prepare(self):
        self.machine.kill_client()

    def test_keys_clicks_and_assistive_tools_do_nothing(self):
        Atspi.set_timeout(20000, 20000)  # they are answered when Apply lets the window be painted
        self.addCleanup(Atspi.set_timeout, 800, 15000)
        self.app.tick("Amber Tides")
        self.app.wait("label", PENDING)
        buttons = [self.app.wait("push button", name) for name in ("Apply", "Refresh", "Advanced…")]
        other_row = self.app.middle(self.app.wait("list item", "Fathom"))

        self.desktop.key("alt+a")  # with the focus still in the list
        wait_for(self.machine.backups, "the backup")
        self.desktop.key("Down")
        self.desktop.click(*other_row)
        for button in buttons:
            Atspi.Action.do_action(button, 0)
        for button in buttons:  # each clicks a moment after it was pressed
            wait_for(lambda: not has_state(button, Atspi.StateType.PRESSED), "the end of the press")

        self.app.answer(RESTART_STEAM, "No")
        self.app.wait("label", NOTHING_PENDING)
        self.assertIsNotNone(self.app.find("panel", "Game settings: Amber Tides"))
        self.assertIsNone(self.app.find("dialog", "Advanced settings"))
        self.assertEqual(len(self.machine.backups()), 1)
        self.assertIn("MARROWPULSE=1 ", self.machine.launch_options(AMBER_TIDES))


if __name__ == "__main__":
    unittest.main()
