# SPDX-License-Identifier: MIT
"""The main job without a pointer."""
import unittest

from case import (AMBER_TIDES, CLOSE_STEAM, NOTHING_PENDING, PENDING, RESTART_STEAM, ProgramTestCase)
from desktop import Atspi, has_state, label_of, wait_for


class Keyboard(ProgramTestCase):
    def press(self, *keys, focus=None):
        """Presses keys, and waits for the focus to be where it is expected."""
        self.desktop.key(*keys)
        if focus:
            self.focus_is(focus)

    def focus_is(self, expected):
        def name():
            focused = self.app.focused()
            return focused and (label_of(focused) or focused.get_name())
        try:
            wait_for(lambda: name() == expected, "focus", 5)
        except AssertionError:
            self.fail(f"the focus is on {name()!r}, not on {expected!r}")

    def test_a_player_without_a_pointer_gets_a_game_set_up(self):
        self.focus_is("Games")
        self.press("space")
        self.app.wait("label", PENDING)
        self.press("Tab", focus="Upscaling (FSR)")
        self.press("space")  # off
        self.press("Tab", focus="Output resolution:")  # the render resolution is off with it
        self.press("Up", "Tab", "Tab", focus="Method:")
        self.press("alt+Down")
        method = self.app.wait_labelled("Method:")
        wait_for(lambda: has_state(method, Atspi.StateType.EXPANDED), "the open list")
        self.press("Down", "Return")
        wait_for(lambda: method.get_name() == "LSFG (Lossless Scaling)", "the choice")
        self.press("Tab", focus="Hold-back:")
        self.press("Down", "Tab", "Tab", focus="Advanced…")
        self.press("space")
        self.app.wait("dialog", "Advanced settings")
        self.focus_is("Limit the game's frame rate")
        self.press("Tab", focus="Automatic (75% of the display refresh rate)")
        self.press("space")
        self.press("Tab", focus="Cap at:")
        self.press("ctrl+a")
        self.desktop.type("72")
        self.press("Return")
        self.app.wait_gone("dialog", "Advanced settings")
        self.focus_is("Advanced…")

        before = self.machine.local_config.read_bytes()
        self.press("alt+a")
        self.app.wait("label", CLOSE_STEAM)
        self.press("Escape")
        self.app.wait_gone("label", CLOSE_STEAM)
        self.app.wait("label", PENDING)
        self.focus_is("Games")
        self.assertTrue(self.machine.client_runs())
        self.assertEqual(self.machine.local_config.read_bytes(), before)

        self.press("alt+a")
        self.app.wait("label", CLOSE_STEAM)
        self.press("Return")  # Yes
        self.app.wait("label", RESTART_STEAM)
        self.assertFalse(self.machine.client_runs())
        self.press("alt+n")
        self.app.wait_gone("label", RESTART_STEAM)
        self.app.wait("label", NOTHING_PENDING)
        self.assertEqual(
            self.machine.launch_options(AMBER_TIDES),
            "MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=2 "
            "GAMESCOPE_FRAMEGEN_BACKEND=lsfg MARROWPULSE_FG_RENDER_RES=1 "
            "marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:164e "
            "-w 2560 -h 1440 -W 2560 -H 1440 -r 72 -f --force-windows-fullscreen -g -- "
            "env MESA_VK_DEVICE_SELECT=pci-0000_03_00_0 DRI_PRIME=10de:2684 %command%")
        self.focus_is("Games")


if __name__ == "__main__":
    unittest.main()
