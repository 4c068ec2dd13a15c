#!/bin/sh
# The binary interface of a shared library: check.sh LIBRARY EXPECTED-SYMBOLS SONAME [NEEDED]
# The environment may name another NM, for other processors.
# NEEDED, a regular expression, is what it may need beside the standard library.
# Variables stand with their size in bytes, which programs copy when they are linked. Weak symbols are
# the inline functions of the C++ library, which compilers export or not.
set -eu
library=$1
expected=$2
soname=$3
needed=${4:-nothing}
failed=0

if ! "${NM:-nm}" --dynamic --defined-only --print-size --radix=d "$library" |
    awk '$3 == "T" { print $4 } $3 ~ /^[DBR]$/ { print $4, $2 + 0 }' | LC_ALL=C sort |
    diff "$expected" -; then
    echo "The exported symbols differ from $expected."
    failed=1
fi
if ! readelf --dynamic "$library" | grep -q "SONAME.*\[$soname\]"; then
    echo "The soname is not $soname."
    failed=1
fi
if readelf --dynamic "$library" | grep NEEDED |
    grep -v -E "\[(libstdc\+\+\.so\.6|libm\.so\.6|libgcc_s\.so\.1|libc\.so\.6|ld-linux-(x86-64|aarch64)\.so\.[12]|$needed)\]"; then
    echo "The library needs more than it may."
    failed=1
fi
exit $failed
