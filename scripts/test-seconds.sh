#!/bin/sh
# Seconds of the tests by suite, most first: test-seconds.sh [BUILD-DIRECTORY]
# They are what ctest keeps of each test: the mean of its runs in that build.
set -eu
costs=${1:-$(dirname "$0")/../build/release}/Testing/Temporary/CTestCostData.txt
if [ ! -r "$costs" ]; then
    echo "$0: $costs is absent: no test has run in this build" >&2
    exit 1
fi
awk '
    $1 == "---" { exit }   # behind it stands what failed
    {
        suite = $1
        sub(/[._].*/, "", suite)
        seconds[suite] += $3
        tests[suite]++
    }
    END { for (suite in seconds) printf "%-12s %9.1f s %6d tests\n", suite, seconds[suite], tests[suite] }
' "$costs" | sort -k2,2nr
