#!/bin/sh
# Builds the fuzzers with clang and runs them all at once: fuzz.sh [SECONDS [FUZZER...]]
# With 0 seconds they only replay the kept inputs: that is the same in every run. ZARNGI_FUZZ_SEED
# makes the rest repeatable, too. New inputs go to build/fuzz/corpus; the kept ones in
# tests/fuzz/corpus stay as they are.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift $(($# < 1 ? $# : 1))
[ $# -gt 0 ] || set -- calls readers
build=build/fuzz

run_fuzzer() {
    fuzzer=$1
    found=$build/corpus/$fuzzer
    options="-timeout=30 -max_len=4096"
    if [ "$fuzzer" = readers ]; then
        # Small files need little memory and time.
        options="-timeout=10 -max_len=4096 -malloc_limit_mb=128 -dict=tests/fuzz/readers.dict"
    fi
    if [ "$seconds" -eq 0 ]; then
        options="$options -runs=0"
    else
        mkdir -p "$found"
        options="$options -max_total_time=$seconds -seed=${ZARNGI_FUZZ_SEED:-0}"
        options="$options -print_final_stats=1 $found"
    fi
    # shellcheck disable=SC2086
    UBSAN_OPTIONS=print_stacktrace=1 "$build/tests/fuzz/${fuzzer}_fuzz" -artifact_prefix=$build/ $options \
        "tests/fuzz/corpus/$fuzzer" >"$build/$fuzzer.log" 2>&1
}

targets=$(printf '%s_fuzz ' "$@")
cmake --preset fuzz >/dev/null
# shellcheck disable=SC2086
cmake --build --preset fuzz --parallel 2 --target $targets
running=""
for fuzzer in "$@"; do
    run_fuzzer "$fuzzer" &
    running="$running $fuzzer:$!"
done
failed=0
for entry in $running; do
    fuzzer=${entry%:*}
    if wait "${entry#*:}"; then
        grep -E '^(stat::number|Done|INFO: seed)|INITED|DONE' "$build/$fuzzer.log" |
            sed "s/^/$fuzzer: /"
    else
        failed=1
        echo "$fuzzer: FAILED"
        tail -n 60 "$build/$fuzzer.log"
    fi
done
exit $failed
