"""A compiler's launcher that takes objects from a build that has made them.

`compile_once.py COMPILER ARGUMENTS`, run in a build folder of sources that may be a copy of this
project's: where ZARNGI_BUILD_DIR holds the object of the same command, and every file that it was made
from is in the copy with the same bytes, the object is copied. All else is compiled, unoptimised.
"""

import filecmp
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
BUILT = Path(os.environ["ZARNGI_BUILD_DIR"])


def source_folder(build):
    """The folder of the sources that a build folder is of."""
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    return re.search(r"^CMAKE_HOME_DIRECTORY:\w+=(.*)$", cache, re.MULTILINE)[1]


def in_copy(path, build):
    """Where the copy and its build folder have a file of the project; None: it is no file of it."""
    for root, other in ((BUILT, build), (PROJECT, source_folder(build))):
        if path.is_relative_to(root):
            return Path(other) / path.relative_to(root)
    return None


def meaning(command, sources, build):
    """What of a command makes the object: not where, nor whether headers were parsed before."""
    text = " ".join(command).replace(str(build), "BUILD").replace(str(sources), "SOURCES")
    places = r" -(?:MT|MF|o|include) \S+| -MD| -Winvalid-pch| -Werror(?= |$)"
    return sorted(re.sub(places, "", text).split())


def command_of(target):
    """The command that made an object."""
    commands = json.loads((BUILT / "compile_commands.json").read_text(encoding="utf-8"))
    found = next((c["command"] for c in commands if f" -o {target} " in c["command"]), "")
    words = shlex.split(found)
    return words[1:] if words and Path(words[0]).name == "ccache" else words


def files_of(target):
    """The files that an object was made from."""
    listed = subprocess.run(["ninja", "-C", BUILT, "-t", "deps", target], capture_output=True, text=True)
    names = [line.strip() for line in listed.stdout.splitlines() if line.startswith("    ")]
    return [Path(os.path.normpath(BUILT / name)) for name in names]


def is_made(target, command, build):
    """Whether the object that is there is the one of this command."""
    made = command_of(target)
    if meaning(made, PROJECT, BUILT) != meaning(command, source_folder(build), build):
        return False
    pairs = [(path, in_copy(path, build)) for path in files_of(target) if path.suffix not in (".hxx", ".gch")]
    own = [(path, copy) for path, copy in pairs if copy is not None]
    return own != [] and all(copy.exists() and filecmp.cmp(path, copy, shallow=False) for path, copy in own)


def build_folder():
    """The build folder that the command runs in, or in a folder of which."""
    here = Path.cwd()
    return next(folder for folder in (here, *here.parents) if (folder / "CMakeCache.txt").exists())


def main(command):
    """Take the object of a command, or make it."""
    if "-o" in command and "-c" in command:
        build = build_folder()
        place = Path.cwd() / command[command.index("-o") + 1]
        target = place.relative_to(build)
        if (BUILT / target).exists() and is_made(target, command, build):
            shutil.copyfile(BUILT / target, place)
            return 0
    return subprocess.run([*command, "-O0"]).returncode


sys.exit(main(sys.argv[1:]))
