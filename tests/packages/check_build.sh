#!/bin/sh
# Packs what is built and checks the packages; then installs it without packages and runs the
# program: check_build.sh BUILD-DIRECTORY SCRATCH-DIRECTORY
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$1
scratch=$2

rm -rf "$scratch"
mkdir -p "$scratch/packages"
cpack --config "$build/CPackConfig.cmake" -B "$scratch/cpack" >"$scratch/cpack.log" 2>&1 || {
    cat "$scratch/cpack.log"
    exit 1
}
mv "$scratch"/cpack/*.deb "$scratch/packages"
"$here/check.sh" "$scratch/packages"

echo "== program below a prefix of its own"
for component in library program; do
    cmake --install "$build" --prefix "$scratch/prefix" --component $component >/dev/null
done
mv "$scratch/prefix" "$scratch/moved"
"$scratch/moved/bin/zarngi" --version
