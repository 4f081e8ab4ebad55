# SPDX-License-Identifier: MIT
"""A pretend machine with games on it, and the program's window on that machine."""
import configparser
import glob
import os
import shutil
import subprocess
import tempfile

import faults

APPLY_DRIVER = os.environ["MARROWPULSE_APPLY_DRIVER"]
ON_MACHINE = os.path.join(os.path.dirname(__file__), "..", "support", "on-machine")


class Machine:
    """With so many games, each with launch options of its own; without a number, with twenty of
    six kinds."""

    def __init__(self, games=None):
        self.root = tempfile.mkdtemp(prefix="marrowpulse-machine.")
        task = ["build", self.root, str(games)] if games else ["build-kinds", self.root]
        subprocess.run([APPLY_DRIVER, *task], check=True, stderr=subprocess.DEVNULL,
                       env=faults.environment())
        self.local_config, = glob.glob(
            self.root + "/home/.local/share/Steam/userdata/*/config/localconfig.vdf")
        self.store = self.root + "/home/.config/Marrowpulse/Marrowpulse.conf"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.root)

    def start(self, task):
        # A malformed store makes Qt ask for more memory than there is; malloc() says no to it.
        return subprocess.Popen([ON_MACHINE, self.root, APPLY_DRIVER, task],
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                                env=faults.environment("allocator_may_return_null=1"))

    def apply(self, task):
        """The lines that the driver prints."""
        with self.start(task) as process:
            lines = process.stdout.read().splitlines()
        if process.returncode:
            raise AssertionError(f"the driver ended with {process.returncode}")
        return lines

    def backups(self):
        return glob.glob(self.local_config + ".bak-marrow-*")

    def reset(self, local_config):
        """As the machine was, with this text in Steam's file."""
        shutil.rmtree(os.path.dirname(self.store), ignore_errors=True)
        for left in glob.glob(self.local_config + ".*"):
            os.remove(left)
        faults.write(self.local_config, local_config)

    def originals(self):
        """The launch options that the store keeps, by app id."""
        store = configparser.RawConfigParser(strict=True)
        store.optionxform = str
        store.read(self.store, encoding="utf-8")
        return dict(store["original"]) if store.has_section("original") else {}
