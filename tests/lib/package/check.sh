#!/bin/sh
# Installs the library and builds the examples against what was installed:
# check.sh SOURCE-DIRECTORY BUILD-DIRECTORY SCRATCH-DIRECTORY
set -eu
source=$1
build=$2
scratch=$3
prefix=$scratch/prefix

rm -rf "$scratch"
for component in runtime development; do
    cmake --install "$build" --prefix "$prefix" --component $component >/dev/null
done

# The files must not lead back to the build: it is moved away from the examples' sight.
mv "$prefix" "$scratch/moved"
prefix=$scratch/moved

echo "== examples/cpp by find_package"
cmake -G Ninja -S "$source/examples/cpp" -B "$scratch/cpp" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/cpp"
"$scratch/cpp/compare_doses"

echo "== examples/c by pkg-config"
pc=$(find "$prefix" -name zarngi.pc)
PKG_CONFIG_PATH=$(dirname "$pc")
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion zarngi)" = 4.1 ]
libdir=$(pkg-config --variable=libdir zarngi)
# shellcheck disable=SC2046
"${CC:-cc}" -std=c11 -Wall -Wextra -Werror -o "$scratch/compare_doses" \
    "$source/examples/c/compare_doses.c" $(pkg-config --cflags --libs zarngi)
LD_LIBRARY_PATH=$libdir "$scratch/compare_doses"
