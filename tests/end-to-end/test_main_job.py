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


if __name__ == "__main__":
    unittest.main()
