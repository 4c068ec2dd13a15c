#!/bin/sh
# Holds the library on 64-bit ARM to the bits it gives here: check-arm64.sh [JOBS]
#
# Cross-compiles the library and its tests, runs them by an emulator, compares the results of random
# problems and of the measured doses bit by bit, and makes the Debian package.
set -eu
jobs=${1:-2}
cd "$(dirname "$0")/.."
problems=1000
here=build/release
there=build/arm64
data=../shared/data

echo "== this processor"
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$jobs" --target zarngi_bits zarngi_copy_grids
rm -rf $there/grids
if [ -d $data ]; then
    $here/tests/lib/zarngi_copy_grids $there/grids head_neck_day1.nrrd head_neck_day2.nrrd
else
    echo "The measured doses are left out: there is no $data"
fi

echo "== 64-bit ARM"
cmake --preset arm64 >/dev/null
cmake --build --preset arm64 --parallel "$jobs"
# Without the paths, of which there is only one, the random problems, which are compared below, and what
# takes the emulator ten minutes.
ctest --preset arm64 --parallel "$jobs" --label-exclude long \
    --exclude-regex 'vector_path|RandomProblems|IsToldOnTheHostsThread|DTAMuchSmallerThanTheStep'
if [ -d $data ]; then
    ctest --preset arm64 --parallel "$jobs" --tests-regex 'RealData.*HeadNeck'
fi

echo "== bits of $problems random problems"
emulator="qemu-aarch64 -L /usr/aarch64-linux-gnu"
$here/tests/lib/zarngi_bits $problems >$there/bits-here.txt
$emulator $there/tests/lib/zarngi_bits $problems >$there/bits-there.txt
[ "$(grep -c '^random problem' $there/bits-there.txt)" = $problems ]
cmp $there/bits-here.txt $there/bits-there.txt
tail -n 3 $there/bits-there.txt

echo "== package"
rm -rf $there/packages
cpack --config $there/CPackConfig.cmake -B $there/packages >$there/cpack.log
package=$(find $there/packages -maxdepth 1 -name 'libzarngi4_*_arm64.deb')
[ "$(dpkg-deb --field "$package" Architecture)" = arm64 ]
dpkg-deb --raw-extract "$package" $there/packages/unpacked
file --dereference $there/packages/unpacked/usr/lib/*/libZarnGI.so.4 | grep 'ARM aarch64.*, stripped'
echo "$package"
