"""The command-line program, where the package came with it."""

from __future__ import annotations

import os
import subprocess
import sys

from ._library import INSIDE


def main() -> int:
    """Run the program with this process's arguments; its exit status."""
    windows = sys.platform == "win32"
    path = str(INSIDE / ("zarngi.exe" if windows else "zarngi"))
    command = [path, *sys.argv[1:]]
    try:
        if not windows:
            os.execv(path, command)
        return _status(subprocess.Popen(command))
    except OSError as error:
        print(f"zarngi: {path}: cannot be run ({error.strerror})", file=sys.stderr)
        return 1


def _status(process: subprocess.Popen[bytes]) -> int:
    """That of a process that hears Ctrl-C as well as this one, and ends in its own way."""
    while True:
        try:
            return process.wait()
        except KeyboardInterrupt:
            continue
