#!/bin/sh
# Uses what the packages install: use.sh runtime|development [ROOT]
# ROOT is where they are unpacked; without it they are installed.
set -eu
part=$1
root=${2:-}
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

if [ -n "$root" ]; then
    LD_LIBRARY_PATH=$(dirname "$(find "$root/usr/lib" -name libZarnGI.so.4)")
    PATH=$root/usr/bin:$PATH
    PYTHONPATH=$root/usr/lib/python3/dist-packages
    MANPATH=$root/usr/share/man
    export LD_LIBRARY_PATH PATH PYTHONPATH MANPATH
fi

if [ "$part" = development ]; then
    examples=$root/usr/share/doc/libzarngi-dev/examples
    "$here/build_examples.sh" "$root/usr" "$examples" "$scratch"
    exit
fi

echo "== program"
[ "$(command -v zarngi)" = "$root/usr/bin/zarngi" ]
[ "$(zarngi --version)" = "zarngi 4.10.0" ]
zarngi demo "$scratch/pair"
grep -q '<script type="application/json" id="zarngi-data">' "$scratch/pair/report.html"
grep -q 'Copyright (c) 2022 Leon Sorokin' "$scratch/pair/report.html" # the charts' licence asks for it
[ "$(man -w zarngi)" = "$root/usr/share/man/man1/zarngi.1.gz" ]

echo "== Python package"
cd "$scratch"
PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 - "$scratch/pair" "$root" <<'PROGRAM'
import json
import sys
from importlib.metadata import version
from pathlib import Path

import zarngi

pair, root = Path(sys.argv[1]), sys.argv[2]
assert zarngi.__file__ == f"{root}/usr/lib/python3/dist-packages/zarngi/__init__.py"
assert version("zarngi") == zarngi.__version__ == "4.10.0"
criterion = json.loads((pair / "result.json").read_text())["criteria"][0]
doses = [zarngi.read(pair / f"{name}.mha") for name in ("reference", "evaluation")]
result = zarngi.gamma_index(*doses, dd=3, dta=2)
print(result.summary())
assert (result.tested, result.failed) == (criterion["tested"], criterion["failed"])
assert 0 < result.failed < result.tested
libraries = {line.split()[-1] for line in open("/proc/self/maps") if "libZarnGI" in line}
assert len(libraries) == 2, libraries
PROGRAM
