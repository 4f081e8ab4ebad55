# SPDX-License-Identifier: MIT
"""Takes the program on a sample machine through all its windows and pictures each.

    on-desktop-bus screenshots.py FOLDER SCALE light|dark STYLE

The pictures are FOLDER/<window>-<scale>x-<theme>-<style>.png.
"""
import contextlib
import pathlib
import sys
import time

from case import BUILD, CLOSE_STEAM, NOTHING_PENDING, RESTART_STEAM, SampleMachine
from desktop import Application, Atspi, Desktop, has_state, wait_for

# A dark style where there is one; the others get a dark palette.
DARK_STYLES = {"Adwaita": "Adwaita-Dark"}
DARK = """[Appearance]
color_scheme_path=/usr/share/qt6ct/colors/darker.conf
custom_palette=true
style=%s
"""

# Common small screens, by the scale that players use on them.
SMALL_SCREENS = {"1": "1024x600", "1.5": "1366x768", "2": "1920x1080"}


class Photographer:
    def __init__(self, app, folder, suffix):
        self.app = app
        self.folder = folder
        self.suffix = suffix

    def take(self, name, window=None):
        """Pictures the active window with its frame, or the one that is named."""
        time.sleep(0.7)  # for the window to be painted and the pressed button to be released
        desktop = self.app.desktop
        desktop.screenshot(self.folder / f"{name}-{self.suffix}.png", window or desktop.active_window())

    def take_message(self, name, text, answer):
        self.app.wait("label", text, 120)
        self.take(name)
        self.app.answer(text, answer)


def tour(machine, app, photographer):
    client = machine.root / "bin/steam"
    config = machine.local_config

    photographer.take("main-window-opened")
    for game in ("Cinder Rally 4", "Fathom", "Amber Tides"):
        app.tick(game)
    resolution = app.wait_labelled("Output resolution:")
    wait_for(lambda: has_state(resolution, Atspi.StateType.ENABLED), "the settings to be enabled")
    photographer.take("main-window")
    main_window = app.desktop.active_window()

    for size in ("300x200", "1706x960"):
        app.click(resolution)
        app.desktop.key("ctrl+a")
        app.desktop.type(size)
        wait_for(lambda size=size: app.find("text", "Output resolution:").get_text(0, -1) == size, size)
        if size == "300x200":
            photographer.take("refused-size")

    app.press("Advanced…")
    app.wait("push button", "Cancel")
    photographer.take("advanced")
    app.press("Cancel")
    app.wait_gone("push button", "Cancel")

    app.press("Apply")
    photographer.take_message("close-steam", CLOSE_STEAM, "No")

    client.write_text("#!/bin/sh\n")  # a client that is deaf to the request
    app.press("Apply")
    app.answer(CLOSE_STEAM, "Yes")
    # While it waits, the program answers the accessibility bus only now and then.
    wait_for(lambda: app.desktop.active_window() != main_window, "the busy dialog")
    photographer.take("waiting")
    photographer.take_message("steam-did-not-exit", "Steam did not exit; nothing was changed.", "OK")
    machine.kill_client()

    content = config.read_bytes()
    config.unlink()
    app.press("Apply")
    photographer.take_message("no-localconfig", "Could not find Steam's localconfig.vdf.", "OK")

    config.mkdir()  # found, but nothing to copy
    app.press("Apply")
    photographer.take_message(
        "no-backup", "Could not write a backup of Steam's config; nothing was changed.", "OK")
    config.rmdir()

    config.write_text("\n")
    app.press("Apply")
    failures = "\n".join(f"{appid}: no apps section found" for appid in ("1001010", "1001030", "1001060"))
    photographer.take_message("some-failed", "Some changes failed:\n" + failures, "OK")
    app.answer(RESTART_STEAM, "No")

    config.write_bytes(content)
    app.press("Apply")
    photographer.take_message("restart-steam", RESTART_STEAM, "No")
    app.wait("label", NOTHING_PENDING)
    photographer.take("main-window-applied")


def long_options(machine, app, photographer):
    """An unticked game whose options have 900 letters and no blank."""
    options = "abcdefghi-" * 90
    text = machine.local_config.read_text()
    machine.local_config.write_text(text.replace("mangohud %command%", options))
    app.press("Refresh")
    app.click(app.wait("list item", "Amber Tides"))
    app.wait("label", options)
    photographer.take("long-options")


def many_failures(machine, app, photographer):
    """120 games, of which none can be changed."""
    machine.kill_client()
    appids = [str(2000000 + 10 * i) for i in range(120)]
    for i, appid in enumerate(appids):
        manifest = machine.steam / f"steamapps/appmanifest_{appid}.acf"
        manifest.write_text('"AppState"\n{\n\t"appid"\t\t"%s"\n\t"name"\t\t"Aaa %03d"\n}\n'
                            % (appid, i))
    app.press("Refresh")
    app.click(app.wait("list item", "Aaa 000"))  # the list keeps its place, at the top
    app.wait("panel", "Game settings: Aaa 000")
    for _ in appids:
        app.desktop.key("space", "Down")
    app.wait("label", "120 game(s) with pending changes. Steam must close briefly to apply.")
    photographer.take("many-pending")
    content = machine.local_config.read_bytes()
    machine.local_config.write_text("\n")
    app.press("Apply")
    failures = "\n".join(f"{appid}: no apps section found" for appid in appids)
    photographer.take_message("many-failed", "Some changes failed:\n" + failures, "OK")
    app.answer(RESTART_STEAM, "No")
    machine.local_config.write_bytes(content)


def small_screen(machine, app, photographer):
    app.click(app.wait("list item", "Amber Tides"))
    photographer.take("small-screen", "root")


def shoot(folder, scale, theme, style, scenes, screen):
    with contextlib.closing(SampleMachine()) as machine:
        environment = {"QT_STYLE_OVERRIDE": style}
        if theme == "dark" and style in DARK_STYLES:
            environment["QT_STYLE_OVERRIDE"] = DARK_STYLES[style]
        elif theme == "dark":
            settings = machine.root / "home/.config/qt6ct"
            settings.mkdir(parents=True)
            (settings / "qt6ct.conf").write_text(DARK % style)
            environment["QT_QPA_PLATFORMTHEME"] = "qt6ct"
        with Desktop(screen=screen, scale=float(scale)) as desktop:
            desktop.start(BUILD / "marrowpulse", machine.root, **environment)
            app = Application(desktop)
            app.wait("list item", "Amber Tides")
            photographer = Photographer(app, folder, f"{scale}x-{theme}-{style.lower()}")
            for scene in scenes:
                scene(machine, app, photographer)


def main(folder, *look):
    shoot(folder, *look, [tour], "2200x1600")
    # many_failures() changes the machine for good, so it is the last.
    shoot(folder, *look, [long_options, many_failures], "2200x1600")
    shoot(folder, *look, [small_screen], SMALL_SCREENS[look[0]])


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve(), *sys.argv[2:])
