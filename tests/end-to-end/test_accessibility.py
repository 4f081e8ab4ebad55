# SPDX-License-Identifier: MIT
"""What a screen reader is told, read through the accessibility bus from the running program."""
import unittest

from case import ProgramTestCase
from desktop import Atspi, descendants, has_state, label_of, role_of, wait_for

PENDING = "Change not applied yet."
OWN_OPTIONS = ("Has custom launch options; enabling will replace them (restored on disable):"
               "\nmangohud %command%")
REFUSED = ("Not accepted: widths from 320 to 7680, heights from 200 to 4320, such as 1706x960. "
           "1280x720 stays in force.")


class Accessibility(ProgramTestCase):
    def described_as(self, accessible, description):
        def told():
            accessible.clear_cache()  # of what was told before
            return accessible.get_description()
        wait_for(lambda: told() == description, f"the description {description!r}")

    def ticked(self, row, is_ticked=True):
        wait_for(lambda: has_state(row, Atspi.StateType.CHECKED) == is_ticked, "the tick")

    def test_every_control_has_the_name_of_its_label(self):
        for label in ("Rendering GPU:", "Render resolution:", "Output resolution:", "Method:",
                      "Hold-back:"):
            with self.subTest(label):
                self.assertEqual(role_of(self.app.wait_labelled(label)), "combo box")
        for label in ("Render resolution:", "Output resolution:"):
            with self.subTest(label):
                self.app.wait("text", label)
        controls = ("check box", "push button", "combo box", "text", "spin button", "label")
        nameless = [role_of(control) for control in descendants(self.app.root)
                    if role_of(control) in controls and not control.get_name()
                    and not label_of(control)]
        self.assertEqual(nameless, [])

    def test_rows_tell_of_ticks_own_options_and_pending_changes(self):
        games = self.app.wait("list", "Games")
        self.assertEqual(games.get_child_count(), 15)
        kestrels = [row for row in descendants(games) if row.get_name() == "Kestrel"]
        self.assertEqual(len(kestrels), 2)  # in two libraries
        self.app.click(kestrels[1])
        self.desktop.key("space")
        for row in kestrels:
            self.ticked(row)

        fathom = self.app.wait("list item", "Fathom")
        amber_tides = self.app.wait("list item", "Amber Tides")
        for row, description in ((fathom, ""), (amber_tides, OWN_OPTIONS)):
            self.described_as(row, description)
            self.ticked(row, False)
            self.app.click(row)
            self.desktop.key("space")
            self.ticked(row)
            self.described_as(row, PENDING)
            self.desktop.key("space")
            self.described_as(row, description)

    def test_a_screen_readers_toggle_makes_its_game_the_current_one(self):
        self.app.wait("panel", "Game settings: Amber Tides")
        item = self.app.wait("list item", "Fathom")
        Atspi.Action.do_action(item, 0)  # Toggle, the only one
        self.app.wait("panel", "Game settings: Fathom")
        was_ticked = has_state(item, Atspi.StateType.CHECKED)
        self.desktop.key("space")
        self.ticked(item, not was_ticked)
        self.ticked(self.app.wait("list item", "Amber Tides"), False)

    def test_a_refused_size_and_the_advanced_settings_are_explained(self):
        self.app.tick("Amber Tides")
        box = self.app.wait_labelled("Render resolution:")
        wait_for(lambda: has_state(box, Atspi.StateType.ENABLED), "the enabled settings")
        self.app.click(box)
        for size, description in (("300x200", REFUSED), ("1706x960", "")):
            self.desktop.key("ctrl+a")
            self.desktop.type(size)
            self.described_as(box, description)

        self.app.press("Advanced…")
        self.app.wait("dialog", "Advanced settings")
        cap = self.app.wait_labelled("Cap at:")
        self.assertEqual(role_of(cap), "spin button")
        self.assertTrue(cap.get_description().startswith("A steady base frame rate is what"))
        pacing = self.app.wait_labelled("Presenter pacing:")
        self.assertTrue(pacing.get_description().startswith("Experimental. Holds fewer"))


if __name__ == "__main__":
    unittest.main()
