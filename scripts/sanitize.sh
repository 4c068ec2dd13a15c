#!/bin/sh
# Builds with the sanitizers and runs the quick tests under each: sanitize.sh [JOBS]
set -eu
cd "$(dirname "$0")/.."
jobs=${1:-2}
# The thread sanitizer watches the library alone: the tools around it start no threads of their own.
for preset in asan tsan; do
    cmake --preset "$preset" -DZARNGI_BUILD_TESTS=ON
    cmake --build --preset "$preset" --parallel "$jobs"
done
export UBSAN_OPTIONS=print_stacktrace=1
ctest --preset asan --parallel "$jobs" --label-exclude 'long|unsanitized'
ctest --preset tsan --parallel "$jobs" --label-regex library --label-exclude 'long|unsanitized'
