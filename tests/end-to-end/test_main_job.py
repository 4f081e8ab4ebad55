# SPDX-License-Identifier: MIT
"""The program's main job, from the window into Steam's file and back, with a real client."""
import unittest

from case import CLOSE_STEAM, RESTART_STEAM, ProgramTestCase
from desktop import Atspi, has_state, wait_for

APPID = "1001010"
OWN = "mangohud %command%"
# The automatic cap is three quarters of the 85 Hz that xrandr reports on this desktop.
COMPOSED = (
    "MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 MARROWPULSE_FG_RENDER_RES=1 "
    "marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:164e -w 1280 -h 720 -W 2560 -H 1440 "
    "-F fsr -r 64 -f --force-windows-fullscreen -g -- "
    "env MESA_VK_DEVICE_SELECT=pci-0000_03_00_0 DRI_PRIME=10de:2684 %command%")
EXIT_COUNT = b'\t"ExitCount"\t\t"1"\n'


def as_written_on_exit(content):
    """Steam's file as the client writes it when it exits: with one more line at its top."""
    head, brace, rest = content.partition(b"{\n")
    return head + brace + EXIT_COUNT + rest


class MainJob(ProgramTestCase):
    def apply(self, restart):
        self.app.click(self.app.wait("push button", "Apply"))
        self.app.answer(CLOSE_STEAM, "Yes")
        self.app.answer(RESTART_STEAM, restart)
        self.status_is("No pending changes.")

    def test_only_the_value_differs_from_what_steam_wrote_last(self):
        first = self.machine.local_config.read_bytes()

        self.app.click(self.app.wait("list item", "Amber Tides"))
        self.desktop.key("space")
        self.status_is("1 game(s) with pending changes. Steam must close briefly to apply.")
        resolution = self.app.wait_labelled("Output resolution:")
        wait_for(lambda: has_state(resolution, Atspi.StateType.ENABLED), "the enabled settings")
        self.app.click(resolution, dx=-10)
        self.desktop.key("Up", "Return")
        wait_for(lambda: resolution.get_name() == "2560x1440", "the chosen resolution")
        self.apply(restart="Yes")

        exited = as_written_on_exit(first)
        self.assertEqual(self.machine.local_config.read_bytes(),
                         exited.replace(OWN.encode(), COMPOSED.encode()))
        self.assertEqual([backup.read_bytes() for backup in self.machine.backups()], [exited])
        wait_for(self.machine.client_runs, "the restarted client")

        # Unticked and applied, the game has its own options back.
        self.app.click(self.app.wait("list item", "Amber Tides"))
        self.desktop.key("space")
        self.status_is("1 game(s) with pending changes. Steam must close briefly to apply.")
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

    def setUp(self):
        super().setUp()
        self.app.click(self.app.wait("list item", "Amber Tides"))
        self.desktop.key("space")
        self.status_is("1 game(s) with pending changes. Steam must close briefly to apply.")
        self.buttons = [self.app.wait("push button", name) for name in ("Apply", "Refresh", "Advanced…")]
        self.other_row = self.app.middle(self.app.wait("list item", "Fathom"))

    def apply(self):
        """Begins an Apply, with the focus still in the list, and returns when it works."""
        self.desktop.key("alt+a")
        wait_for(self.machine.backups, "the backup")

    def nothing_was_taken(self):
        self.app.answer(RESTART_STEAM, "No")
        self.status_is("No pending changes.")
        self.assertIsNotNone(self.app.find("panel", "Game settings: Amber Tides"))
        self.assertIsNone(self.app.find("dialog", "Advanced settings"))
        self.assertEqual(len(self.machine.backups()), 1)
        self.assertIn("MARROWPULSE=1 ", self.machine.launch_options(APPID))

    def test_keys_and_clicks_do_nothing(self):
        self.apply()
        self.desktop.key("Down")
        self.desktop.click(*self.other_row)
        self.nothing_was_taken()

    def test_presses_by_assistive_tools_do_nothing(self):
        Atspi.set_timeout(20000, 20000)  # they are answered when Apply lets the window be painted
        self.addCleanup(Atspi.set_timeout, 800, 15000)
        self.apply()
        for button in self.buttons:
            Atspi.Action.do_action(button, 0)
        for button in self.buttons:  # each clicks a moment after it was pressed
            wait_for(lambda: not button.get_state_set().contains(Atspi.StateType.PRESSED),
                     "the end of the press")
        self.nothing_was_taken()


if __name__ == "__main__":
    unittest.main()
