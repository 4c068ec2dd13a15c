#!/bin/sh
# Runs what was built for Windows under Wine, beside what was built here: check.sh OUTPUT [JOBS] [quick]
# OUTPUT has the folder that scripts/windows.sh made. The tests of the program as a process run once
# more, through Wine; what they say of Linux alone is left out, below, with the reason. quick: what
# processor and system have to bring, the installation's own test, and the bits of ten comparisons.
set -eu
output=$(cd "$1" && pwd)
jobs=${2:-2}
extent=${3:-whole}
cd "$(dirname "$0")/../.."
top=$PWD
build=$top/build/check-windows
mkdir -p "$build"

cmake --preset release >/dev/null
cmake --build --preset release --parallel "$jobs" --target zarngi >/dev/null

# No windows, no browser, no messages of Wine's own; it passes for an old system unless told otherwise.
export WINEPREFIX="$build/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree=;mshtml="
unset DISPLAY
[ -e "$WINEPREFIX/system.reg" ] || wineboot --init >/dev/null 2>&1
# As long as a program waits, Wine need not start its services anew for each of hundreds.
rm -f "$build/waits"
mkfifo "$build/waits"
wine cmd /c pause <"$build/waits" >/dev/null 2>&1 &
exec 9>"$build/waits"
trap 'wineserver --kill || true' EXIT
wine reg add 'HKCU\Software\Wine' /v Version /d win10 /f >/dev/null
version=$(sed -n 's/^project(ZarnGI VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
folder=$output/zarngi-$version-windows-x64
printf '#!/bin/sh\nexec wine "%s/zarngi.exe" "$@"\n' "$folder" >"$build/zarngi"
# The same on a processor that has SSE2 and nothing beyond; Wine must not start itself anew, outside of it.
printf '#!/bin/sh\nexport WINELOADERNOEXEC=1 WINELOADER=/usr/lib/wine/wine64\n%s "$WINELOADER" "%s/zarngi.exe" "$@"\n' \
    "exec qemu-x86_64 -cpu qemu64,-sse3" "$folder" >"$build/zarngi-sse2"
chmod +x "$build/zarngi" "$build/zarngi-sse2"

export ZARNGI_WINDOWS="$build/zarngi" ZARNGI_WINDOWS_FOLDER="$folder" PYTHONDONTWRITEBYTECODE=1
export ZARNGI_WINDOWS_SSE2="$build/zarngi-sse2"
export ZARNGI_WINDOWS_BUILD="$top/build/windows"
export ZARNGI_TEST_DATA="$top/../shared/data"
export ZARNGI="$top/build/release/cli/zarngi" PYTHONPATH="$top/tests/cli"

# tests MODULE_OR_TEST...
tests() {
    (cd tests/windows && /usr/bin/python3 -m unittest -v "$@")
}

if [ "$extent" = quick ]; then
    export ZARNGI_WINDOWS_ROWS=10
    tests test_needs test_windows.BitsTest.test_measured_doses \
        test_windows.PlacesTest.test_the_installation_passes_its_own_test
    exit
fi
tests test_needs test_windows

echo "== the tests of the program, through Wine"
# conditions and noise: minutes of random numbers, the same arithmetic as in the bits above.
# faults, output_places, jpeg: signals, limits, devices and decoders of Linux.
# numbered: another program. requests, bad_files, outputs: name places of Linux (/dev, links, fifos).
for suite in ${ZARNGI_WINDOWS_SUITES:-formats goals measurements structures explain real_data}; do
    (cd tests/cli && ZARNGI="$build/zarngi" /usr/bin/python3 -m unittest "test_$suite")
done
