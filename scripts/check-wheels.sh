#!/bin/sh
# Makes the wheels of the last commit, twice where all of them can be compared, and uses the one for this
# processor: check-wheels.sh OUTPUT [JOBS]. OUTPUT holds them afterwards.
#
# The libraries in the wheel for ARM are run by an emulator, those for Windows by scripts of
# tests/windows: no Python for either is to be had.
set -eu
mkdir -p "$1"
output=$(cd "$1" && pwd)
jobs=${2:-2}
cd "$(dirname "$0")/.."
commit=$(git rev-parse HEAD)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

if [ -n "$(git status --porcelain)" ]; then
    echo "$0: what is not committed is left out of the second build" >&2
fi
rm -f "$output"/zarngi-*.whl
scripts/wheels.sh "$output" "$jobs"

echo "== second build"
second=$scratch/another/place/with/a/longer/name
git clone --quiet --no-checkout . "$second"
git -C "$second" checkout --quiet --detach "$commit"
(
    umask 027
    export TZ=Pacific/Auckland LANG=C.UTF-8 LC_ALL=C.UTF-8
    "$second/scripts/wheels.sh" "$scratch/made" "$jobs" x86_64
)
cmp "$output"/zarngi-*_x86_64.whl "$scratch"/made/zarngi-*_x86_64.whl
echo "The same bytes twice."

echo "== use"
for wheel in "$output"/zarngi-*_x86_64.whl; do
    ZARNGI_WHEEL=$wheel PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -m pytest -q -rs -p no:cacheprovider \
        --noconftest tests/python/test_wheel.py
done

echo "== the program for 64-bit ARM, emulated"
mkdir "$scratch/arm64"
(cd "$scratch/arm64" && unzip -q "$output"/zarngi-*_aarch64.whl && chmod +x zarngi/lib/zarngi)
mkdir "$scratch/here" "$scratch/there"
(cd "$scratch/there" && qemu-aarch64 -L /usr/aarch64-linux-gnu "$scratch/arm64/zarngi/lib/zarngi" demo pair)
program=$PWD/build/wheel/package/lib/zarngi
(cd "$scratch/here" && "$program" demo pair)
for place in here there; do # a record tells when it was made and how long that took; a page holds it
    sed -i '/"created"\|[sS]econds"/d' "$scratch/$place/pair/result.json"
    rm "$scratch/$place/pair/report.html"
done
diff -r "$scratch/here" "$scratch/there"
echo "The same doses, structures and record."
