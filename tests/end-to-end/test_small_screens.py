# SPDX-License-Identifier: MIT
"""The window on screens that are smaller than it would like."""
import re
import unittest

from case import BUILD, SampleMachine
from desktop import Application, Atspi, Desktop, wait_for


class SmallScreens(unittest.TestCase):
    def opens_within(self, width, height, scale):
        machine = SampleMachine()
        self.addCleanup(machine.close)
        desktop = self.enterContext(Desktop(screen=f"{width}x{height}", scale=scale))
        desktop.start(BUILD / "marrowpulse", machine.root)
        app = Application(desktop)
        apply = app.wait("push button", "Apply")

        def is_whole():
            """Whether the window, its frame included, is on the screen with all of Apply."""
            window = desktop.active_window()
            told = desktop.output("xwininfo", "-id", window)

            def number(name):
                return int(re.search(rf"{name}: +(-?\d+)", told)[1])

            extents = desktop.output("xprop", "-id", window, "_NET_FRAME_EXTENTS")
            frame = [int(extent) for extent in extents.split("=")[1].split(",")]
            left = number("Absolute upper-left X") - frame[0]
            top = number("Absolute upper-left Y") - frame[2]
            right = left + frame[0] + number("Width") + frame[1]
            bottom = top + frame[2] + number("Height") + frame[3]
            button = apply.get_extents(Atspi.CoordType.SCREEN)
            return left >= 0 and top >= 0 and right <= width and bottom <= height \
                and button.height > 0 and (button.y + button.height) * scale <= bottom \
                and bottom - top >= min(height - 50 * scale, 620 * scale)

        wait_for(is_whole, "the window within the screen", 10)
        app.click(app.wait("list item", "Amber Tides"))
        app.wait("panel", "Game settings: Amber Tides")

    def test_netbook(self):
        self.opens_within(1024, 600, 1)

    def test_laptop_at_one_and_a_half(self):
        self.opens_within(1366, 768, 1.5)

    def test_full_hd_at_two(self):
        self.opens_within(1920, 1080, 2)

    def test_a_large_screen_does_not_make_it_larger(self):
        self.opens_within(2200, 1400, 1)


if __name__ == "__main__":
    unittest.main()
