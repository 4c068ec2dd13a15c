#!/bin/sh
# Measures the line and branch coverage of lib/ and files/ by their tests: coverage.sh [JOBS [ROOM...]]
# Of the random problems one part in eight, on each vector path: with counters all of them would take
# hours, and they reach nothing more.
set -eu
cd "$(dirname "$0")/.."
jobs=${1:-2}
shift $(($# < 1 ? $# : 1))
[ $# -gt 0 ] || set -- lib files
out=build/coverage/report
cmake --preset coverage -DZARNGI_BUILD_TESTS=ON
cmake --build --preset coverage --parallel "$jobs"
for room in "$@"; do
    find "build/coverage/$room" -name '*.gcda' -delete
    if [ "$room" = lib ]; then
        ctest --preset coverage --parallel "$jobs" \
            --label-regex library --label-exclude long --exclude-regex vector_path.RandomProblems
        build/coverage/tests/lib/zarngi_vector_path_tests --path=all --gtest_filter='*RandomProblems*/0'
    else
        ctest --preset coverage --parallel "$jobs" --label-regex "$room" \
            --label-exclude unsanitized
    fi
    lcov --quiet --capture --no-external --base-directory "$PWD" \
        --directory "build/coverage/$room" --output-file build/coverage/all.info
    lcov --quiet --extract build/coverage/all.info "$PWD/$room/*" \
        --output-file "build/coverage/$room.info"
    genhtml --quiet --output-directory "$out/$room" "build/coverage/$room.info"
    /usr/bin/python3 scripts/coverage_summary.py "build/coverage/$room" "$room"
    echo "Lines in detail: $out/$room/index.html"
done
