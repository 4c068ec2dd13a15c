#!/bin/sh
# Runs clang-tidy over the project's own sources: tidy.sh BUILD-DIRECTORY [JOBS [PATH-PATTERN]]
set -eu
cd "$(dirname "$0")/.."
build=$1
jobs=${2:-2}
pattern=${3:-'(lib|cli|report|python|tests|bench|examples)/'}
# Flags of GCC that clang does not know would be findings of their own.
run-clang-tidy -quiet -p "$build" -j "$jobs" -extra-arg=-Wno-unknown-warning-option \
    "^$PWD/$pattern"
