#!/bin/sh
# Builds and runs the examples against an installed library:
# build_examples.sh PREFIX EXAMPLES SCRATCH-DIRECTORY
set -eu
prefix=$1
examples=$2
scratch=$3

echo "== examples/cpp by find_package"
cmake -S "$examples/cpp" -B "$scratch/cpp" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/cpp"
"$scratch/cpp/compare_doses"

echo "== examples/c by pkg-config"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix/lib" -name zarngi.pc)")
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion zarngi)" = 4.10.0 ]
# shellcheck disable=SC2046
"${CC:-cc}" -std=c11 -Wall -Wextra -Werror -o "$scratch/compare_doses" \
    "$examples/c/compare_doses.c" $(pkg-config --cflags --libs zarngi)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir zarngi) "$scratch/compare_doses"
