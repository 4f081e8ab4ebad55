# SPDX-License-Identifier: MIT
"""The machine of twenty games of six kinds, the states that an Apply can begin with there, and what
must hold after it: Steam's file is what the program's boxes say, and no game's own launch options are
lost."""
import collections
import configparser
import glob
import os
import re
import shutil
import subprocess

import faults
import machine

OWN = {str(n): f"-own{n}" for n in (*range(1001, 1006), *range(1018, 1021))}
ESCAPED = {str(n): f'-name \\"{n}\\" -x' for n in (1013, 1014)}
KEPT = {"1009": "-kept1009", "1010": "-kept1010"}  # of the four that have the program's options
GAMES = [str(n) for n in range(1001, 1021)]
EDITED = [game for game in GAMES if game not in ESCAPED]
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
    apps = text.index(b'"apps"')
    at = text.index(b"{", apps) + 1
    return text[:at] + new_blocks + text[at:]


def originals_in(store):
    parser = configparser.RawConfigParser()
    parser.optionxform = str
    parser.read_string(store.decode())
    return dict(parser["original"]) if parser.has_section("original") else {}


FIELDS = "file store meanwhile_file meanwhile_store kept typed hidden_store"


class State(collections.namedtuple("State", FIELDS, defaults=(None, None, {}, {}, None))):
    """What an Apply begins with: the bytes of Steam's file and of the store (none, or UNREADABLE), when
    the window opens and when Apply is pressed (none: the same); which first options the store has
    then, read or not; what was typed in Steam since the window opened; and the bytes that take the
    place of an unreadable store afterwards."""

    def at_apply(self):
        return self.meanwhile_file or self.file, self.meanwhile_store or self.store


class KindsMachine(machine.Machine):
    """A machine with the games of all kinds, put back to a state before each Apply. Steam's file is a
    link to one with an access list."""

    def __init__(self):
        super().__init__()
        self.temporary = self.root + "/tmp"
        self.real_file = os.path.join(os.path.dirname(self.local_config), "real.vdf")
        self.original = faults.read(self.local_config)
        os.rename(self.local_config, self.real_file)
        entries = f"u::rw,g::-,g:{os.getgid()}:r,o::-"
        subprocess.run(["setfacl", "-m", entries, self.real_file], check=True)
        self.rights = self.rights_of(self.real_file)

    def rights_of(self, path):
        return os.stat(path).st_mode, os.getxattr(path, ACCESS_LIST)

    def set_up(self, state):
        """Whatever the state has for later lies in files that the driver puts in place."""
        for path in glob.glob(glob.escape(os.path.dirname(self.local_config)) + "/*"):
            os.remove(path)
        shutil.rmtree(os.path.dirname(self.store), ignore_errors=True)
        shutil.rmtree(self.temporary, ignore_errors=True)
        os.mkdir(self.temporary)
        os.symlink(os.path.basename(self.real_file), self.local_config)
        self.put(self.real_file, state.file)
        if state.store:
            os.makedirs(os.path.dirname(self.store), exist_ok=True)
            self.put(self.store, state.store)
        self.swaps = []
        for path, content in ((self.real_file, state.meanwhile_file),
                              (self.store, state.meanwhile_store)):
            if content:
                later = os.path.join(self.root, os.path.basename(path))
                self.put(later, content)
                self.swaps += [later, path]

    def states(self):
        """Before anything was applied, and after all games were enabled."""
        fresh = State(self.original, STORE, kept=KEPT)
        self.set_up(fresh)
        self.apply("enable")
        store = self.read_store()
        return fresh, State(faults.read(self.local_config), store, kept=originals_in(store))

    def put(self, path, content):
        if os.path.lexists(path):
            os.remove(path)
        if content == UNREADABLE:
            os.symlink(path, path)
            return
        faults.write(path, content)
        if path.endswith(".vdf"):
            os.chmod(path, self.rights[0])
            os.setxattr(path, ACCESS_LIST, self.rights[1])

    def read_store(self):
        if os.path.islink(self.store):
            return UNREADABLE
        return faults.read(self.store) if os.path.exists(self.store) else None

    def left_behind(self):
        """Files that are neither Steam's nor a backup nor the store, after a whole Apply."""
        config = os.path.dirname(self.local_config)
        known = faults.FILE, os.path.basename(self.real_file)
        left = [name for name in os.listdir(config) if name not in known and ".bak-marrow-" not in name]
        return left + self.left_beside_the_store() + os.listdir(self.temporary)

    def left_beside_the_store(self):
        folder = os.path.dirname(self.store)
        names = os.listdir(folder) if os.path.isdir(folder) else []
        return [name for name in names if name != os.path.basename(self.store)]


def judge(pretend, state, wanted, boxes, is_killed=False, may_leave=False):
    """What is wrong after an Apply that showed these boxes. `wanted`: the options that it gives games
    where nothing fails."""
    wrong = []
    file, store = state.at_apply()
    now = faults.read(pretend.local_config)
    named = {part.partition(":")[0] for box in boxes if box.startswith(FAILED)
             for part in box[len(FAILED):].split("|")}
    everything = with_options(file, wanted)
    if is_killed:
        expected = file, everything
    elif APPLIED in boxes:
        expected = [with_options(file, {game: options for game, options
                                        in wanted.items() if game not in named})]
    else:
        expected = [file]
        if boxes not in ([BACKUP_FAILED], [NOT_FOUND]):
            wrong.append("it says nothing")
        if pretend.read_store() != store:
            wrong.append("the store changed, though nothing was to be")
    if now not in expected:
        wrong.append(f"the file is not what is claimed: {options_in(now)}")
    if not os.path.islink(pretend.local_config):
        wrong.append("the link is gone")
    for path in (pretend.real_file, *pretend.backups()):
        if pretend.rights_of(path) != pretend.rights:
            wrong.append(f"{os.path.basename(path)} has other rights: {pretend.rights_of(path)}")
    if any(faults.read(backup) != file for backup in pretend.backups()):
        wrong.append("a backup is no copy")
    if APPLIED in boxes and len(pretend.backups()) != 1:
        wrong.append(f"{len(pretend.backups())} backups")
    if pretend.left_behind() and not may_leave:
        wrong.append(f"left behind: {pretend.left_behind()}")

    kept = state.kept
    if store == UNREADABLE:
        if pretend.read_store() != UNREADABLE:
            wrong.append("a store that cannot be read was replaced")
    else:
        kept = originals_in(pretend.read_store() or b"")
        if (any(kept.get(game) != options for game, options in state.kept.items())
                or store and b"99\\caphz=75\n" not in pretend.read_store()):
            wrong.append(f"the store lost what it had: {pretend.read_store()}")
    old, new = options_in(file), options_in(now)
    for game, options in OWN.items():
        if options not in (new.get(game), kept.get(game)) or (
                old[game] == options != new[game] and kept.get(game) != options):
            wrong.append(f"{game} has lost its own options: {new.get(game)}, {kept.get(game)}")
    return wrong


def judge_afterwards(pretend, state, judged):
    """An undisturbed Apply of no game, with the store that can be read again, gives each its own
    options back. `judged` remembers what came of the same files."""
    if pretend.read_store() == UNREADABLE:
        pretend.put(pretend.store, state.hidden_store)
    found = faults.read(pretend.local_config), pretend.read_store(), bool(pretend.left_behind())
    if found in judged:
        return judged[found]
    kept = originals_in(pretend.read_store() or b"")
    lines = pretend.apply("disable")
    wrong = [f"afterwards: {line}" for line in lines[1:-1] if line != APPLIED]
    now = options_in(faults.read(pretend.local_config))
    for game in GAMES:
        own = kept.get(game) or OWN.get(game) or ESCAPED.get(game) or state.typed.get(game, "")
        if now.get(game, "") != own:
            wrong.append(f"afterwards {game} has {now.get(game)}")
    if APPLIED in lines and pretend.left_beside_the_store():
        wrong.append(f"afterwards left: {pretend.left_beside_the_store()}")
    judged[found] = wrong
    return wrong
