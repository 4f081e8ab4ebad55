# SPDX-License-Identifier: MIT
"""What a screen reader is told, read through the accessibility bus from the running program."""
import unittest

from case import ProgramTestCase
from desktop import Atspi, descendants, has_state, label_of, role_of, wait_for

PENDING = "Change not applied yet."


def description_of(accessible):
    accessible.clear_cache()  # of what was told before
    return accessible.get_description()


class Accessibility(ProgramTestCase):
    def test_every_choice_is_named_by_its_label(self):
        for label in ("Rendering GPU:", "Render resolution:", "Output resolution:", "Method:",
                      "Hold-back:"):
            with self.subTest(label):
                self.assertEqual(role_of(self.app.wait_labelled(label)), "combo box")

    def test_line_edits_are_named(self):
        for label in ("Render resolution:", "Output resolution:"):
            with self.subTest(label):
                self.app.wait("text", label)

    def test_no_control_is_without_a_name(self):
        controls = ("check box", "push button", "combo box", "text", "spin button", "label")
        nameless = [role_of(control) for control in descendants(self.app.root)
                    if role_of(control) in controls and not control.get_name()
                    and not label_of(control)]
        self.assertEqual(nameless, [])

    def test_list_is_named_and_its_items_tell_their_check_state(self):
        games = self.app.wait("list", "Games")
        self.assertEqual(games.get_child_count(), 15)
        item = self.app.wait("list item", "Amber Tides")
        self.assertFalse(has_state(item, Atspi.StateType.CHECKED))
        self.app.click(item)
        self.desktop.key("space")
        wait_for(lambda: has_state(self.app.find("list item", "Amber Tides"), Atspi.StateType.CHECKED),
                 "the check state")

    def test_description_and_ticks_follow_a_tick(self):
        kestrels = [row for row in descendants(self.app.wait("list", "Games"))
                    if row.get_name() == "Kestrel"]
        self.assertEqual(len(kestrels), 2)  # in two libraries
        self.app.click(kestrels[1])
        self.desktop.key("space")
        for row in kestrels:
            wait_for(lambda row=row: has_state(row, Atspi.StateType.CHECKED), "the tick of both")
        own = self.app.wait("list item", "Amber Tides")
        self.assertEqual(own.get_description(),
                         "Has custom launch options; enabling will replace them (restored on disable):"
                         "\nmangohud %command%")
        self.app.click(own)
        self.desktop.key("space")
        wait_for(lambda: has_state(own, Atspi.StateType.CHECKED), "the tick")
        wait_for(lambda: description_of(own) == PENDING, "the pending change")
        self.desktop.key("space")
        wait_for(lambda: description_of(own).startswith("Has custom"), "the description")

    def test_toggle_makes_its_game_the_current_one(self):
        self.app.wait("panel", "Game settings: Amber Tides")
        item = self.app.wait("list item", "Fathom")
        Atspi.Action.do_action(item, 0)  # Toggle, the only one
        self.app.wait("panel", "Game settings: Fathom")
        was_ticked = has_state(item, Atspi.StateType.CHECKED)
        self.desktop.key("space")
        wait_for(lambda: has_state(item, Atspi.StateType.CHECKED) != was_ticked, "Fathom's tick")
        self.assertFalse(has_state(self.app.wait("list item", "Amber Tides"), Atspi.StateType.CHECKED))

    def test_a_pending_row_says_so(self):
        item = self.app.wait("list item", "Fathom")
        self.assertEqual(description_of(item), "")
        self.app.click(item)
        self.desktop.key("space")
        wait_for(lambda: description_of(item) == PENDING, "the description")
        self.desktop.key("space")
        wait_for(lambda: description_of(item) == "", "the end of the description")

    def test_a_refused_size_says_so(self):
        self.app.click(self.app.wait("list item", "Amber Tides"))
        self.desktop.key("space")
        box = self.app.wait_labelled("Render resolution:")
        wait_for(lambda: has_state(box, Atspi.StateType.ENABLED), "the enabled settings")
        self.app.click(box)
        self.desktop.key("ctrl+a")
        self.desktop.type("300x200")
        refused = ("Not accepted: widths from 320 to 7680, heights from 200 to 4320, such as 1706x960. "
                   "1280x720 stays in force.")
        wait_for(lambda: box.get_description() == refused, "the description")
        self.desktop.key("ctrl+a")
        self.desktop.type("1706x960")
        wait_for(lambda: not box.get_description().startswith("Not accepted"), "its end")

    def test_dialog(self):
        self.app.click(self.app.wait("list item", "Amber Tides"))
        self.desktop.key("space")
        self.app.click(self.app.wait("push button", "Advanced…"))
        self.app.wait("dialog", "Advanced settings")
        cap = self.app.wait_labelled("Cap at:")
        self.assertEqual(role_of(cap), "spin button")
        self.assertTrue(cap.get_description().startswith("A steady base frame rate is what"))
        pacing = self.app.wait_labelled("Presenter pacing:")
        self.assertTrue(pacing.get_description().startswith("Experimental. Holds fewer"))


if __name__ == "__main__":
    unittest.main()
