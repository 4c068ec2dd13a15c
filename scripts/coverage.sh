#!/bin/sh
# Measures the line and branch coverage of lib/ by its tests: coverage.sh [JOBS]
set -eu
cd "$(dirname "$0")/.."
jobs=${1:-2}
out=build/coverage/report
cmake --preset coverage -DZARNGI_BUILD_TESTS=ON
cmake --build --preset coverage --parallel "$jobs"
find build/coverage -name '*.gcda' -delete
ctest --preset coverage --parallel "$jobs" --label-regex library --label-exclude long
lcov --quiet --capture --rc lcov_branch_coverage=1 --no-external --base-directory "$PWD" \
    --directory build/coverage/lib --output-file build/coverage/all.info
lcov --quiet --rc lcov_branch_coverage=1 --extract build/coverage/all.info "$PWD/lib/*" \
    --output-file build/coverage/lib.info
genhtml --quiet --branch-coverage --output-directory "$out" build/coverage/lib.info
lcov --rc lcov_branch_coverage=1 --list build/coverage/lib.info
echo "Details: $out/index.html"
