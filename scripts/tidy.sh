#!/bin/sh
# Runs clang-tidy over the sources that a build compiles: tidy.sh BUILD-DIRECTORY [JOBS [FOLDER...]]
set -eu
cd "$(dirname "$0")/.."
build=$1
jobs=${2:-2}
shift $(($# < 2 ? $# : 2))
[ $# -gt 0 ] || set -- lib cli report python tests bench examples

# Clang reads ITK's headers with a word of explanation, see there.
git ls-files -- "$@" | grep -E '\.(c|cpp)$' | while read -r file; do
    if grep -q "\"file\": \"$PWD/$file\"" "$build/compile_commands.json"; then
        explained=""
        ! grep -q '#include <itk' "$file" ||
            explained="--extra-arg=-include --extra-arg=$PWD/cmake/itkWithClang.h"
        echo "$explained $file"
    fi
done | xargs -r -L 1 -P "$jobs" clang-tidy --quiet -p "$build" \
    --extra-arg=-Wno-unknown-warning-option
