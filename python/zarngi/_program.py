"""The command-line program, where the package came with it."""

from __future__ import annotations

import os
import signal
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
        # The program hears Ctrl-C as well, and ends in its own way.
        signal.signal(signal.SIGINT, lambda *_: None)
        return subprocess.Popen(command).wait()
    except OSError as error:
        print(f"zarngi: {path}: cannot be run ({error.strerror})", file=sys.stderr)
        return 1
