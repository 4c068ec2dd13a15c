#!/bin/sh
# Builds the fuzzers with clang and runs one: fuzz.sh [SECONDS [FUZZER]]
# With 0 seconds it only replays the kept inputs: that is the same in every run.
# New inputs go to build/fuzz/corpus; the kept ones in tests/fuzz/corpus stay as they are.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
fuzzer=${2:-calls}
found=build/fuzz/corpus/$fuzzer
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --parallel 2 --target "${fuzzer}_fuzz"
mkdir -p "$found"
if [ "$seconds" -eq 0 ]; then
    exec build/fuzz/tests/fuzz/"${fuzzer}_fuzz" -runs=0 -timeout=30 tests/fuzz/corpus/"$fuzzer"
fi
build/fuzz/tests/fuzz/"${fuzzer}_fuzz" -max_total_time="$seconds" -timeout=30 -max_len=4096 \
    -print_final_stats=1 -artifact_prefix=build/fuzz/ "$found" tests/fuzz/corpus/"$fuzzer"
