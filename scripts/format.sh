#!/bin/sh
# Formats the C and C++ sources, or with --check fails where a file is not formatted.
set -eu
cd "$(dirname "$0")/.."
mode=-i
[ "${1:-}" != --check ] || mode="--dry-run --Werror"
# shellcheck disable=SC2086
find lib platform files comparison host cli web python tests bench examples \
    \( -name node_modules -o -name build -o -name third_party \) -prune -o \
    -type f \( -name '*.h' -o -name '*.c' -o -name '*.cpp' \) -print0 2>/dev/null |
    xargs -0 -r clang-format $mode
