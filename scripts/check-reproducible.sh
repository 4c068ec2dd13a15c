#!/bin/sh
# Packages the last commit twice, in two places and two environments, and compares the bytes of
# everything that comes out: check-reproducible.sh OUTPUT [JOBS]. OUTPUT holds them afterwards.
set -eu
mkdir -p "$1"
output=$(cd "$1" && pwd)
jobs=${2:-2}
cd "$(dirname "$0")/.."
commit=$(git rev-parse HEAD)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

clone() {
    git clone --quiet --no-checkout . "$1"
    git -C "$1" checkout --quiet --detach "$commit"
}

echo "== first build"
clone "$scratch/first"
"$scratch/first/scripts/package.sh" "$output" "$jobs"

echo "== second build"
second=$scratch/another/place/with/a/longer/name
mkdir -p "$second"
clone "$second/sources"
(
    umask 027
    export TZ=Pacific/Auckland LANG=C.UTF-8 LC_ALL=C.UTF-8 USER=somebody LOGNAME=somebody
    "$second/sources/scripts/package.sh" "$second/made" 1
)

echo "== comparison"
diff --recursive --brief "$output" "$second/made"
echo "The same bytes twice:"
cat "$output/SHA256SUMS"
