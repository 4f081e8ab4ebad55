# SPDX-License-Identifier: MIT
"""A pretend machine with twenty games of six kinds, the program's window on it, and what must hold after
an Apply: Steam's file is what the program's boxes say, and no game's own launch options are lost."""
import collections
import configparser
import os
import pathlib
import random
import re
import shutil
import subprocess
import tempfile

APPLY_DRIVER = os.environ["MARROWPULSE_APPLY_DRIVER"]
ON_MACHINE = pathlib.Path(__file__).resolve().parent.parent / "support/on-machine"

# What the driver gives the games.
OWN = {str(n): f"-own{n}" for n in (*range(1001, 1006), *range(1018, 1021))}
ESCAPED = {str(n): f'-name \\"{n}\\" -x' for n in (1013, 1014)}
GAMES = [str(n) for n in range(1001, 1021)]
EDITED = [game for game in GAMES if game not in ESCAPED]
KEPT = {"1009": "-kept1009", "1010": "-kept1010"}  # of the four that have the program's options
STORE = ("[config]\n1001\\framegen=true\n99\\caphz=75\n\n[original]\n"
         + "".join(f"{game}={options}\n" for game, options in KEPT.items()) + "88=-other\n").encode()
# Of games that get nothing back, and of one that does.
TYPED = {game: f"-typed{game}" for game in ("1006", "1011", "1015", "1001")}
UNREADABLE = b"(a link to itself)"
ACCESS_LIST = "system.posix_acl_access"

BACKUP_FAILED = "Could not write a backup of Steam's config; nothing was changed."
NOT_FOUND = "Could not find Steam's localconfig.vdf."
APPLIED = "Changes applied. Restart Steam now?"
FAILED = "Some changes failed:|"


def share(cases, count, seed):
    """All cases in a long run, else `count` of them: for one seed always the same ones."""
    if os.environ.get("MARROWPULSE_LONG") == "1" or len(cases) <= count:
        return cases
    return random.Random(seed).sample(cases, count)


def options_in(text):
    """The launch options of every game, in a text read as KeyValues: quoted texts with escapes, and
    braces outside them."""
    path, key, found = [], None, {}
    for quoted, brace in re.findall(r'"((?:[^"\\]|\\.)*)"|([{}])', text.decode()):
        if brace == "{":
            path.append(key)
            key = None
        elif brace == "}":
            path.pop()
        elif key is None:
            key = quoted
        else:
            if path[-2:-1] == ["apps"] and key == "LaunchOptions":
                assert path[-1] not in found, f"{path[-1]} has two"
                found[path[-1]] = quoted
            key = None
    assert not path and key is None
    return found


def with_options(text, options):
    """The text in which the games have these options, as the program is to write it."""
    new_blocks = b""
    for game, value in options.items():
        line = b'"LaunchOptions"\t\t"%s"' % value.encode()
        block = re.search(rb'\n(\t+)"%s"\n\1\{\n(.*?)\n\1\}' % game.encode(), text, re.DOTALL)
        if not block:
            new_blocks = b'\n\t\t\t\t\t"%s"\n\t\t\t\t\t{\n\t\t\t\t\t\t%s\n\t\t\t\t\t}' % (
                game.encode(), line) + new_blocks
            continue
        inside, found = re.subn(rb'"LaunchOptions"\t\t"[^"]*"', lambda _, new=line: new, block[2])
        if not found:
            inside = block[1] + b"\t" + line + b"\n" + inside
        text = text[:block.start(2)] + inside + text[block.end(2):]
    at = text.index(b"{", text.index(b'"apps"')) + 1
    return text[:at] + new_blocks + text[at:]


def originals_in(store):
    """The first options that a store keeps, by game."""
    parser = configparser.RawConfigParser()
    parser.optionxform = str
    parser.read_string((store or b"").decode())
    return dict(parser["original"]) if parser.has_section("original") else {}


FIELDS = "file store meanwhile_file meanwhile_store hidden_store"


class State(collections.namedtuple("State", FIELDS, defaults=(None, None, None))):
    """What an Apply begins with: the bytes of Steam's file and of the store (None without one, or
    UNREADABLE) when the window opens; other ones that take their place before Apply is pressed; and
    what an unreadable store turns out to hold when it can be read again."""

    def at_apply(self):
        return self.meanwhile_file or self.file, self.meanwhile_store or self.store

    def kept(self):
        return originals_in(self.hidden_store or self.at_apply()[1])


class Machine:
    """It is put back to a state before each Apply. Steam's file is a link to one with an access list."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="marrowpulse-machine.")
        self.root = pathlib.Path(self.folder.name)
        self.temporary = self.root / "tmp"
        subprocess.run([APPLY_DRIVER, "build", self.root], check=True, stderr=subprocess.DEVNULL)
        self.config, = self.root.glob("home/.local/share/Steam/userdata/*/config")
        self.local_config = self.config / "localconfig.vdf"
        self.store = self.root / "home/.config/Marrowpulse/Marrowpulse.conf"
        self.original = self.local_config.read_bytes()
        self.real_file = self.local_config.rename(self.config / "real.vdf")
        entries = f"u::rw,g::-,g:{os.getgid()}:r,o::-"
        subprocess.run(["setfacl", "-m", entries, self.real_file], check=True)
        self.rights = self.rights_of(self.real_file)

    def rights_of(self, path):
        return path.stat().st_mode, os.getxattr(path, ACCESS_LIST)

    def set_up(self, state):
        """Whatever the state has for later lies in files that the driver puts in place."""
        for path in self.config.iterdir():
            path.unlink()
        shutil.rmtree(self.store.parent, ignore_errors=True)
        if state.store is not None:
            self.store.parent.mkdir(parents=True)
        shutil.rmtree(self.temporary, ignore_errors=True)
        self.temporary.mkdir()
        self.local_config.symlink_to(self.real_file.name)
        self.put(self.real_file, state.file)
        self.put(self.store, state.store)
        self.swaps = []
        for path, content in ((self.real_file, state.meanwhile_file),
                              (self.store, state.meanwhile_store)):
            if content:
                self.put(self.root / path.name, content)
                self.swaps += [self.root / path.name, path]

    def put(self, path, content):
        path.unlink(missing_ok=True)
        if content == UNREADABLE:
            path.symlink_to(path)
        elif content is not None:
            path.write_bytes(content)
            if path.suffix == ".vdf":
                path.chmod(self.rights[0])
                os.setxattr(path, ACCESS_LIST, self.rights[1])

    def apply(self, task, through=(), swaps=(), **environment):
        """How one Apply ended, and the lines that the driver printed. `through`: what it is started by."""
        # Leaks cannot be looked for under strace. A malformed store makes Qt ask for more memory than
        # there is, to which malloc() says no.
        asan = os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0:allocator_may_return_null=1"
        done = subprocess.run(
            [ON_MACHINE, self.root, *through, APPLY_DRIVER, task, *swaps], stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL, text=True, timeout=120, check=False,
            env={**os.environ, "ASAN_OPTIONS": asan, "TMPDIR": str(self.temporary), **environment})
        return done.returncode, done.stdout.splitlines()

    def read_store(self):
        if self.store.is_symlink():
            return UNREADABLE
        return self.store.read_bytes() if self.store.is_file() else None

    def backups(self):
        return list(self.config.glob("localconfig.vdf.bak-marrow-*"))

    def left_beside_the_store(self):
        return [path.name for path in self.store.parent.glob("*") if path != self.store]

    def left_behind(self):
        """Files that are neither Steam's nor a backup nor the store, after a whole Apply."""
        known = self.local_config, self.real_file, *self.backups()
        return ([path.name for path in self.config.iterdir() if path not in known]
                + self.left_beside_the_store() + os.listdir(self.temporary))

    def judge(self, state, wanted, boxes, is_killed, may_leave):
        """What is wrong after an Apply that showed these boxes. `wanted`: the options that it gives
        games where nothing fails."""
        wrong = []

        def require(holds, what):
            if not holds:
                wrong.append(what)

        file, store = state.at_apply()
        now, stored = self.local_config.read_bytes(), self.read_store()
        named = {part.partition(":")[0] for box in boxes if box.startswith(FAILED)
                 for part in box[len(FAILED):].split("|")}
        if is_killed:
            expected = file, with_options(file, wanted)
        elif APPLIED in boxes:
            expected = [with_options(file, {game: options for game, options
                                            in wanted.items() if game not in named})]
            require(len(self.backups()) == 1, f"{len(self.backups())} backups")
        else:
            expected = [file]
            require(boxes in ([BACKUP_FAILED], [NOT_FOUND]), "it says nothing")
            require(stored == store, "the store changed, though nothing was to be")
        require(now in expected, f"the file is not what is claimed: {options_in(now)}")
        require(self.local_config.is_symlink(), "the link is gone")
        for path in (self.real_file, *self.backups()):
            require(self.rights_of(path) == self.rights,
                    f"{path.name} has other rights: {self.rights_of(path)}")
        require(all(backup.read_bytes() == file for backup in self.backups()), "a backup is no copy")
        require(may_leave or not self.left_behind(), f"left behind: {self.left_behind()}")

        kept = state.kept()
        if store == UNREADABLE:
            require(stored == UNREADABLE, "a store that cannot be read was replaced")
        else:
            require(kept.items() <= originals_in(stored).items()
                    and (not store or b"99\\caphz=75\n" in stored), f"the store lost what it had: {stored}")
            kept = originals_in(stored)
        for game, options in OWN.items():
            held = options_in(now).get(game), kept.get(game)
            require(options in held, f"{game} has lost its own options: {held}")
        return wrong

    def judge_afterwards(self, state, judged):
        """An undisturbed Apply of no game, with the store that can be read again, gives each its own
        options back. `judged` remembers what came of the same files."""
        if self.read_store() == UNREADABLE:
            self.put(self.store, state.hidden_store)
        found = self.local_config.read_bytes(), self.read_store(), bool(self.left_behind())
        if found in judged:
            return judged[found]
        kept = originals_in(self.read_store())
        _, lines = self.apply("disable")
        wrong = [f"afterwards: {line}" for line in lines[1:-1] if line != APPLIED]
        now = options_in(self.local_config.read_bytes())
        typed = TYPED if state.meanwhile_file else {}
        for game in GAMES:
            own = kept.get(game) or OWN.get(game) or ESCAPED.get(game) or typed.get(game, "")
            if now.get(game, "") != own:
                wrong.append(f"afterwards {game} has {now.get(game)}")
        if APPLIED in lines and self.left_beside_the_store():
            wrong.append(f"afterwards left: {self.left_beside_the_store()}")
        judged[found] = wrong
        return wrong
