#!/bin/sh
# Builds the reference of the installed headers and fails on any warning: reference.sh [OUTPUT]
set -eu
cd "$(dirname "$0")/.."
if ! command -v doxygen >/dev/null; then
    echo "$0: doxygen is not installed" >&2
    exit 77
fi
output=${1:-build/docs}
mkdir -p "$output"

configured() {
    cat docs/Doxyfile
    printf '%s\n' "OUTPUT_DIRECTORY = $output" "$@"
}

# Every parameter and result is told, but for the operators of the vector types.
configured "HTML_OUTPUT = parameters" "WARN_NO_PARAMDOC = YES" \
    "EXCLUDE = lib/idx3d.h lib/vector3d.h" | doxygen -
rm -r "$output/parameters"
configured | doxygen -
echo "$output/html/index.html"
