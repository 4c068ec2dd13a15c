#!/bin/sh
# Runs the tests under the sanitizers: sanitize.sh [JOBS [quick]]
# All of them run under the address and undefined-behaviour sanitizers, left out those that measure
# what the sanitizers change (label `unsanitized`) and the comparisons with measured doses, which
# would take hours; those of the library and of the readers also under the thread sanitizer. `quick`
# builds and runs the tests of these two alone, without the random problems, and those of the readers,
# which start no threads, under the first sanitizers only, in the build of the fuzzers, which has these:
# what continuous integration has time for.
# All is compiled with -O1, which takes half the time of -O2 and finds the same.
set -eu
cd "$(dirname "$0")/.."
jobs=${1:-2}
export UBSAN_OPTIONS=print_stacktrace=1

if [ "${2:-}" = quick ]; then
    check_quickly() {
        preset=$1 labels=$2
        shift 2
        cmake --preset "$preset" -DZARNGI_BUILD_TESTS=ON >/dev/null
        cmake --build --preset "$preset" --parallel "$jobs" --target "$@"
        ctest --preset "$preset" --parallel "$jobs" --label-regex "$labels" --progress \
            --label-exclude 'long|unsanitized' \
            --exclude-regex 'vector_path|AbsurdInput|RandomProblems|host\.|NOT_BUILT'
    }
    check_quickly fuzz 'library|files' zarngi_library_checks zarngi_files_tests
    check_quickly tsan library zarngi_library_checks
    exit 0
fi
for preset in asan tsan; do
    cmake --preset "$preset" -DZARNGI_BUILD_TESTS=ON
    cmake --build --preset "$preset" --parallel "$jobs"
done
ctest --preset asan --parallel "$jobs" --label-exclude 'long|unsanitized'
ctest --preset tsan --parallel "$jobs" --label-regex 'library|files' --label-exclude 'long|unsanitized'
