#!/bin/sh
# Runs what was built for Windows under Wine, beside what was built here: check.sh OUTPUT [JOBS]
# OUTPUT has the folder that scripts/windows.sh made. The tests of the program as a process run once
# more, through Wine; what they say of Linux alone is left out, below, with the reason.
set -eu
output=$(cd "$1" && pwd)
jobs=${2:-2}
cd "$(dirname "$0")/../.."
top=$PWD
build=$top/build/check-windows
mkdir -p "$build"

cmake --preset release >/dev/null
cmake --build --preset release --parallel "$jobs" --target zarngi >/dev/null

# No windows, no browser, no messages of Wine's own.
export WINEPREFIX="$build/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree=;mshtml="
unset DISPLAY
[ -e "$WINEPREFIX/system.reg" ] || wineboot --init >/dev/null 2>&1
version=$(sed -n 's/^project(ZarnGI VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
folder=$output/zarngi-$version-windows-x64
printf '#!/bin/sh\nexec wine "%s/zarngi.exe" "$@"\n' "$folder" >"$build/zarngi"
chmod +x "$build/zarngi"

export ZARNGI_WINDOWS="$build/zarngi" ZARNGI_WINDOWS_FOLDER="$folder" PYTHONDONTWRITEBYTECODE=1
export ZARNGI_TEST_DATA="$top/../shared/data"
export ZARNGI="$top/build/release/cli/zarngi" PYTHONPATH="$top/tests/cli"
(cd tests/windows && /usr/bin/python3 -m unittest -v test_windows)

echo "== the tests of the program, through Wine"
# conditions and noise: minutes of random numbers, the same arithmetic as in the bits above.
# faults, output_places, jpeg: signals, limits, devices and decoders of Linux.
# numbered: another program. requests, bad_files, outputs: name places of Linux (/dev, links, fifos).
for suite in ${ZARNGI_WINDOWS_SUITES:-formats goals measurements structures explain real_data}; do
    (cd tests/cli && ZARNGI="$build/zarngi" /usr/bin/python3 -m unittest "test_$suite")
done
wineserver --kill || true
