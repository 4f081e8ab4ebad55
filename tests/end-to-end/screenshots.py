# SPDX-License-Identifier: MIT
"""Takes the program on a sample machine through all its windows and pictures each.

    on-desktop-bus screenshots.py BUILD FOLDER SCALE light|dark

BUILD is the build folder; the pictures are FOLDER/<window>-<scale>x-<theme>.png.
"""
import os
import pathlib
import subprocess
import sys
import time

os.environ["MARROWPULSE_BUILD"] = str(pathlib.Path(sys.argv[1]).resolve())

from case import CLOSE_STEAM, RESTART_STEAM, SampleMachine  # noqa: E402
from desktop import Application, Atspi, Desktop, has_state, wait_for  # noqa: E402

DARK = """[Appearance]
color_scheme_path=/usr/share/qt6ct/colors/darker.conf
custom_palette=true
style=Fusion
"""


class ScaledDesktop(Desktop):
    """A desktop whose program tells places on the screen in its own, larger pixels."""

    def __init__(self, scale):
        super().__init__(screen="2200x1600")
        self.scale = scale

    def click(self, x, y):
        super().click(x * self.scale, y * self.scale)


class Photographer:
    def __init__(self, desktop, app, folder, suffix):
        self.desktop = desktop
        self.app = app
        self.folder = folder
        self.suffix = suffix

    def active_window(self):
        return self.desktop.output("xdotool", "getactivewindow").strip()

    def take(self, name):
        """Pictures the active window with its frame."""
        time.sleep(0.7)  # for the window to be painted and the pressed button to be released
        path = self.folder / f"{name}-{self.suffix}.png"
        subprocess.run(["import", "-frame", "-window", self.active_window(), str(path)],
                       env=self.desktop.environment, check=True)

    def take_message(self, name, text, answer):
        wait_for(lambda: self.app.find("label", text), f"the message {text!r}", 120)
        self.take(name)
        self.app.answer(text, answer)

    def apply(self):
        self.app.click(self.app.wait("push button", "Apply"))


def tour(machine, desktop, app, photographer):
    client = machine.root / "bin/steam"
    config = machine.local_config

    for game in ("Cinder Rally 4", "Fathom", "Amber Tides"):
        app.click(app.wait("list item", game))
        desktop.key("space")
    resolution = app.wait_labelled("Output resolution:")
    wait_for(lambda: has_state(resolution, Atspi.StateType.ENABLED), "the settings to be enabled")
    photographer.take("main-window")
    main_window = photographer.active_window()

    app.click(app.wait("push button", "Advanced…"))
    app.wait("push button", "Cancel")
    photographer.take("advanced")
    app.click(app.wait("push button", "Cancel"))
    wait_for(lambda: not app.find("push button", "Cancel"), "the end of the dialog")

    photographer.apply()
    photographer.take_message("close-steam", CLOSE_STEAM, "No")

    client.write_text("#!/bin/sh\n")  # a client that is deaf to the request
    photographer.apply()
    app.answer(CLOSE_STEAM, "Yes")
    # While it waits, the program answers the accessibility bus only now and then.
    wait_for(lambda: photographer.active_window() != main_window, "the busy dialog")
    photographer.take("waiting")
    photographer.take_message("steam-did-not-exit", "Steam did not exit; nothing was changed.", "OK")
    machine.kill_client()

    content = config.read_bytes()
    config.unlink()
    photographer.apply()
    photographer.take_message("no-localconfig", "Could not find Steam's localconfig.vdf.", "OK")

    config.mkdir()  # found, but nothing to copy
    photographer.apply()
    photographer.take_message(
        "no-backup", "Could not write a backup of Steam's config; nothing was changed.", "OK")
    config.rmdir()

    config.write_text("\n")
    photographer.apply()
    failures = "\n".join(f"{appid}: no apps section found" for appid in ("1001010", "1001030", "1001060"))
    photographer.take_message("some-failed", "Some changes failed:\n" + failures, "OK")
    app.answer(RESTART_STEAM, "No")

    config.write_bytes(content)
    photographer.apply()
    photographer.take_message("restart-steam", RESTART_STEAM, "No")
    app.wait("label", "No pending changes.")
    photographer.take("main-window-applied")


def main(folder, scale, theme):
    machine = SampleMachine()
    try:
        environment = {"QT_SCALE_FACTOR": scale}
        if theme == "dark":
            settings = machine.root / "home/.config/qt6ct"
            settings.mkdir(parents=True)
            (settings / "qt6ct.conf").write_text(DARK)
            environment["QT_QPA_PLATFORMTHEME"] = "qt6ct"
        with ScaledDesktop(float(scale)) as desktop:
            desktop.start(pathlib.Path(os.environ["MARROWPULSE_BUILD"]) / "marrowpulse", machine.root,
                          **environment)
            app = Application(desktop)
            app.wait("list item", "Amber Tides")
            tour(machine, desktop, app, Photographer(desktop, app, folder, f"{scale}x-{theme}"))
    finally:
        machine.close()


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[2]).resolve(), sys.argv[3], sys.argv[4])
