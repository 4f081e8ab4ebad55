# SPDX-License-Identifier: MIT
"""The main job without a pointer."""
import time
import unittest

from case import CLOSE_STEAM, RESTART_STEAM, ProgramTestCase
from desktop import Atspi, descendants, has_state, label_of, wait_for

PENDING = "1 game(s) with pending changes. Steam must close briefly to apply."


class KeyboardTestCase(ProgramTestCase):
    def focus(self, key, expected):
        """Presses a key and waits for the focus to be where it is expected."""
        self.desktop.key(key)
        self.focus_is(expected)

    def focus_is(self, expected):
        try:
            wait_for(lambda: self.focused_name() == expected, "focus", 5)
        except AssertionError:
            self.fail(f"the focus is on {self.focused_name()!r}, not on {expected!r}")

    def focused_name(self):
        focused = self.app.focused()
        return focused and (label_of(focused) or focused.get_name())

    def box_is(self, text):
        return wait_for(lambda: self.app.find("label", text), f"the message {text!r}")

    def box_is_gone(self, text):
        wait_for(lambda: not self.app.find("label", text), f"the end of the message {text!r}")

    def tick_first_game(self):
        self.focus_is("Games")
        self.desktop.key("space")
        self.status_is(PENDING)

    def machine_gains(self, appid, name):
        manifest = self.machine.steam / f"steamapps/appmanifest_{appid}.acf"
        manifest.write_text('"AppState"\n{\n\t"appid"\t\t"%s"\n\t"name"\t\t"%s"\n}\n' % (appid, name))


class Keyboard(KeyboardTestCase):
    def test_whole_job(self):
        self.tick_first_game()
        self.focus("Tab", "Upscaling (FSR)")
        self.desktop.key("space")  # off
        self.focus("Tab", "Output resolution:")  # the render resolution is off with it
        self.desktop.key("Up")
        self.desktop.key("Tab", "Tab")
        self.focus_is("Method:")
        self.desktop.key("space")  # the combo box opens
        method = self.app.wait_labelled("Method:")
        wait_for(lambda: has_state(method, Atspi.StateType.EXPANDED), "the open list")
        self.desktop.key("Down", "Return")
        wait_for(lambda: method.get_name() == "LSFG (Lossless Scaling)", "the choice")
        self.focus("Tab", "Hold-back:")
        self.desktop.key("Down")
        self.desktop.key("Tab", "Tab")
        self.focus_is("Advanced…")
        self.desktop.key("space")
        self.app.wait("dialog", "Advanced settings")
        self.focus_is("Limit the game's frame rate")
        self.focus("Tab", "Automatic (75% of the display refresh rate)")
        self.desktop.key("space")
        self.focus("Tab", "Cap at:")
        self.desktop.key("ctrl+a")
        self.desktop.type("72")
        self.desktop.key("Return")
        wait_for(lambda: not self.app.find("dialog", "Advanced settings"), "the end of the dialog")
        self.focus_is("Advanced…")

        self.desktop.key("alt+a")
        self.box_is(CLOSE_STEAM)
        self.desktop.key("alt+y")
        self.box_is(RESTART_STEAM)
        self.desktop.key("alt+n")
        self.box_is_gone(RESTART_STEAM)
        self.status_is("No pending changes.")
        self.assertEqual(
            self.machine.launch_options("1001010"),
            "MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=2 "
            "GAMESCOPE_FRAMEGEN_BACKEND=lsfg MARROWPULSE_FG_RENDER_RES=1 "
            "marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:164e "
            "-w 2560 -h 1440 -W 2560 -H 1440 -r 72 -f --force-windows-fullscreen -g -- "
            "env MESA_VK_DEVICE_SELECT=pci-0000_03_00_0 DRI_PRIME=10de:2684 %command%")
        self.focus_is("Games")

    def test_up_at_the_start_and_after_apply_leaves_the_gpu_as_it_is(self):
        gpu = self.app.wait_labelled("Rendering GPU:").get_name()
        self.tick_first_game()
        self.desktop.key("Up")
        self.status_is(PENDING)
        self.app.click(self.app.wait("push button", "Apply"))
        self.app.answer(CLOSE_STEAM, "Yes")
        self.app.answer(RESTART_STEAM, "No")
        self.status_is("No pending changes.")
        self.focus_is("Games")
        self.desktop.key("Up", "Down", "Up")
        self.assertEqual(self.app.wait_labelled("Rendering GPU:").get_name(), gpu)
        self.status_is("No pending changes.")

    def test_wheel_over_a_box_without_the_focus(self):
        self.tick_first_game()
        for label in ("Rendering GPU:", "Render resolution:", "Output resolution:", "Method:",
                      "Hold-back:"):
            with self.subTest(label):
                combo = self.app.wait_labelled(label)
                shown = combo.get_name()
                self.desktop.wheel(*self.app.middle(combo))
                self.desktop.key("Down", "Up")  # what was turned before has arrived by then
                self.focus_is("Games")
                self.assertEqual(combo.get_name(), shown)
        self.status_is(PENDING)

    def test_refresh_keeps_the_focus(self):
        self.tick_first_game()
        self.machine_gains("2002020", "Aardvark Alley")
        self.desktop.key("alt+r")
        self.app.wait("list item", "Aardvark Alley")
        self.focus_is("Games")
        self.status_is(PENDING)

    def test_esc_declines_closing_steam(self):
        before = self.machine.local_config.read_bytes()
        self.tick_first_game()
        self.desktop.key("alt+a")
        self.box_is(CLOSE_STEAM)
        self.desktop.key("Escape")
        self.box_is_gone(CLOSE_STEAM)
        self.status_is(PENDING)
        self.focus_is("Games")
        self.assertTrue(self.machine.client_runs())
        self.assertEqual(self.machine.local_config.read_bytes(), before)

    def test_enter_takes_the_first_button_of_the_question(self):
        self.tick_first_game()
        self.desktop.key("alt+a")
        self.box_is(CLOSE_STEAM)
        self.desktop.key("Return")  # Yes
        self.box_is(RESTART_STEAM)
        self.assertFalse(self.machine.client_runs())
        self.desktop.key("Return")
        self.box_is_gone(RESTART_STEAM)
        wait_for(self.machine.client_runs, "the restarted client")

    def test_every_list_opens_with_alt_down_and_closes_with_esc(self):
        self.tick_first_game()
        self.desktop.key("shift+Tab")
        for label in ("Rendering GPU:", "Render resolution:", "Output resolution:", "Method:",
                      "Hold-back:"):
            with self.subTest(label):
                while self.focused_name() != label:
                    left = self.focused_name()
                    self.desktop.key("Tab")
                    wait_for(lambda: self.focused_name() != left, f"the focus to leave {left!r}")
                combo = self.app.wait_labelled(label)
                shown = combo.get_name()
                self.desktop.key("alt+Down")
                wait_for(lambda: has_state(combo, Atspi.StateType.EXPANDED), "the open list")
                self.desktop.key("Escape")
                wait_for(lambda: not has_state(combo, Atspi.StateType.EXPANDED), "the closed list")
                self.focus_is(label)
                self.assertEqual(combo.get_name(), shown)


class Searching(KeyboardTestCase):
    def prepare(self):
        self.machine_gains("2002020", "Iron Bastion")

    def test_a_blank_in_a_typed_name_ticks_nothing(self):
        self.focus_is("Games")
        self.desktop.type("iron lan")
        self.app.wait("panel", "Game settings: Iron Lantern")
        self.focus("Tab", "Refresh")  # since the settings are off, nothing was ticked
        self.status_is("No pending changes.")

    def test_a_blank_after_the_search_ticks_the_game_that_was_found(self):
        self.focus_is("Games")
        self.desktop.type("iron l")
        self.app.wait("panel", "Game settings: Iron Lantern")
        time.sleep(1)  # nothing but time ends a search
        self.desktop.key("space")
        self.status_is(PENDING)
        self.assertTrue(has_state(self.app.wait("list item", "Iron Lantern"), Atspi.StateType.CHECKED))


class Copying(KeyboardTestCase):
    def prepare(self):
        self.machine.kill_client()

    def clipboard_is(self, text):
        try:
            wait_for(lambda: self.desktop.clipboard() == text, "the clipboard", 5)
        except AssertionError:
            self.assertEqual(self.desktop.clipboard(), text)

    def test_options_of_a_game_with_and_without_its_tick(self):
        self.focus_is("Games")
        self.desktop.key("ctrl+c")
        self.clipboard_is("mangohud %command%")
        self.tick_first_game()
        self.desktop.key("ctrl+c")
        self.clipboard_is(self.composed())

    def composed(self):
        """The options that are shown for the current game."""
        return wait_for(lambda: next(
            (label.get_name() for label in descendants(self.app.root)
             if label.get_name().startswith("MARROWPULSE=1 ")), None), "the options")

    def test_options_from_the_menu_of_the_list(self):
        self.focus_is("Games")
        self.desktop.key("Menu")
        # A menu is a window of its own, which the bus does not tell of.
        wait_for(lambda: len(self.desktop.output("xdotool", "search", "--onlyvisible", "--class",
                                                 "marrowpulse").split()) == 2, "the menu")
        self.desktop.key("Down", "Return")
        self.clipboard_is("mangohud %command%")

    def test_failures_are_copied_from_their_message_at_once(self):
        self.tick_first_game()
        self.machine.local_config.write_text("\n")
        self.desktop.key("alt+a")
        text = "Some changes failed:\n1001010: no apps section found"
        self.box_is(text)
        self.desktop.key("ctrl+a", "ctrl+c")
        self.clipboard_is(text)


if __name__ == "__main__":
    unittest.main()
