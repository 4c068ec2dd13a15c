#!/bin/sh
# Runs clang-tidy over the sources that a build compiles: tidy.sh BUILD-DIRECTORY [JOBS [FOLDER...]]
# Without precompiled headers, which it cannot read of another compiler: so each source is held to
# include what it uses.
set -eu
cd "$(dirname "$0")/.."
build=$1
jobs=${2:-2}
shift $(($# < 2 ? $# : 2))
[ $# -gt 0 ] || set -- lib platform files comparison host cli web python tests bench examples

mkdir -p build/tidy
sed 's/ -Winvalid-pch//; s/ -include [^ ]*cmake_pch\.hxx//' "$build/compile_commands.json" \
    >build/tidy/compile_commands.json

git ls-files -- "$@" | grep -E '\.(c|cpp)$' | while read -r file; do
    if grep -q "\"file\": \"$PWD/$file\"" build/tidy/compile_commands.json; then
        echo "$file"
    fi
done | xargs -r -L 1 -P "$jobs" clang-tidy --quiet -p build/tidy \
    --extra-arg=-Wno-unknown-warning-option
