#!/bin/sh
# Measures the line and branch coverage of lib/ by its tests: coverage.sh [JOBS]
# Of the random problems one part in eight, on each vector path: with counters all of them would take
# hours, and they reach nothing more.
set -eu
cd "$(dirname "$0")/.."
jobs=${1:-2}
out=build/coverage/report
cmake --preset coverage -DZARNGI_BUILD_TESTS=ON
cmake --build --preset coverage --parallel "$jobs"
find build/coverage -name '*.gcda' -delete
# The filter is that of the vector paths' programs: the other tests bring their own.
GTEST_FILTER='Search.*:Search/*/0' ctest --preset coverage --parallel "$jobs" \
    --label-regex library --label-exclude long --exclude-regex 'RandomProblems.*/[1-9]'
lcov --quiet --capture --no-external --base-directory "$PWD" \
    --directory build/coverage/lib --output-file build/coverage/all.info
lcov --quiet --extract build/coverage/all.info "$PWD/lib/*" --output-file build/coverage/lib.info
genhtml --quiet --output-directory "$out" build/coverage/lib.info
/usr/bin/python3 scripts/coverage_summary.py build/coverage/lib lib
echo "Lines in detail: $out/index.html"
