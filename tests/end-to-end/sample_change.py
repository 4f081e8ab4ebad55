# SPDX-License-Identifier: MIT
"""Takes the program on a sample machine through one change, from outside, with keyboard and pointer.

    on-desktop-bus sample_change.py PROGRAM MACHINE PICTURES

Ticks a game, chooses an output resolution, applies, answers the questions. Prints what Steam's file
holds for the game before and after; exits 0 only when that is the expected text and nothing else in
the file has changed. Leaves screenshots in the folder PICTURES.
"""
import pathlib
import re
import sys

from desktop import Application, Atspi, Desktop, has_state, wait_for

APPID = "1001010"
EXPECTED = (
    "MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 MARROWPULSE_FG_RENDER_RES=1 "
    "marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:164e -w 1280 -h 720 -W 2560 -H 1440 "
    "-F fsr -r 45 -f --force-windows-fullscreen -g -- "
    "env MESA_VK_DEVICE_SELECT=pci-0000_03_00_0 DRI_PRIME=10de:2684 %command%")


def launch_options(text):
    """The game's value in the text of Steam's file, found as plainly as can be."""
    block = re.search(r'"%s"\n\t*\{(.*?)\n\t{5}\}' % APPID, text, re.S)
    return re.search(r'"LaunchOptions"\t\t"([^"]*)"', block[1])[1]


def main(program, machine, pictures):
    pictures.mkdir(parents=True, exist_ok=True)
    local_config = next(machine.glob("home/.local/share/Steam/userdata/*/config/localconfig.vdf"))
    first = local_config.read_text()
    before = launch_options(first)
    print(f"Before: {before}")
    with Desktop() as desktop:
        desktop.start(program, machine)
        app = Application(desktop)
        app.click(app.wait("list item", "Amber Tides"))
        desktop.key("space")
        resolution = app.wait_labelled("Output resolution:")
        wait_for(lambda: has_state(resolution, Atspi.StateType.ENABLED), "the settings to be enabled")
        desktop.screenshot(pictures / "1-ticked.png")
        app.click(resolution, dx=-10)
        desktop.key("Up", "Return")
        wait_for(lambda: resolution.get_name() == "2560x1440", "the chosen resolution")
        desktop.screenshot(pictures / "2-edited.png")
        app.click(app.wait("push button", "Apply"))
        app.answer("Steam stores launch options in a file it rewrites on exit, so it must be closed to "
                   "apply changes.\n\nClose Steam now? (It will be restarted afterwards.)", "Yes")
        app.answer("Changes applied. Restart Steam now?", "No")
        wait_for(lambda: app.find("label", "No pending changes."), "the end of the work")
        desktop.screenshot(pictures / "3-applied.png")
    print(f"After:  {launch_options(local_config.read_text())}")
    print(f"Screenshots: {', '.join(str(path) for path in sorted(pictures.glob('*.png')))}")
    if local_config.read_text() != first.replace(before, EXPECTED):
        print(f"Expected: {EXPECTED}, and every other byte as it was", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*(pathlib.Path(argument).resolve() for argument in sys.argv[1:])))
