# SPDX-License-Identifier: MIT
"""Takes the program on a sample machine through one change, from outside, with keyboard and pointer.

    on-desktop-bus sample_change.py MACHINE PICTURES

Ticks a game, chooses an output resolution, applies, answers the questions. Prints what Steam's file
holds for the game before and after; exits 0 only when that is the expected text and nothing else in
the file has changed. Leaves screenshots in the folder PICTURES.
"""
import pathlib
import sys

from case import (AMBER_TIDES, BUILD, CLOSE_STEAM, NOTHING_PENDING, PENDING, RESTART_STEAM, SampleMachine,
                  choose_a_larger_output, composed)
from desktop import Application, Desktop


def main(folder, pictures):
    pictures.mkdir(parents=True, exist_ok=True)
    machine = SampleMachine(folder)
    first, before = machine.local_config.read_text(), machine.launch_options(AMBER_TIDES)
    print(f"Before: {before}")
    with Desktop() as desktop:
        desktop.start(BUILD / "marrowpulse", machine.root)
        app = Application(desktop)
        app.tick("Amber Tides")
        app.wait("label", PENDING)
        desktop.screenshot(pictures / "1-ticked.png")
        choose_a_larger_output(app)
        desktop.screenshot(pictures / "2-edited.png")
        app.press("Apply")
        app.answer(CLOSE_STEAM, "Yes")
        app.answer(RESTART_STEAM, "No")
        app.wait("label", NOTHING_PENDING)
        desktop.screenshot(pictures / "3-applied.png")
    expected = composed("2560x1440", 45)  # without a refresh rate
    print(f"After:  {machine.launch_options(AMBER_TIDES)}")
    print(f"Screenshots: {', '.join(str(path) for path in sorted(pictures.glob('*.png')))}")
    if machine.local_config.read_text() != first.replace(before, expected):
        print(f"Expected: {expected}, and every other byte as it was", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*(pathlib.Path(argument).resolve() for argument in sys.argv[1:])))
