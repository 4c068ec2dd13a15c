#!/bin/sh
# Makes the source archive and the Debian packages of the last commit: package.sh OUTPUT [JOBS]
#
# Two runs give the same bytes, wherever and whenever they run: all times are that of the commit;
# names, owners, modes and the order of files depend on nothing else than the sources. The packages
# are built from the unpacked source archive, which shows that it is complete.
set -eu
umask 022
export LC_ALL=C
mkdir -p "$1"
output=$(cd "$1" && pwd)
jobs=${2:-2}
cd "$(dirname "$0")/.."

if [ -n "$(git status --porcelain)" ]; then
    echo "$0: what is not committed is left out" >&2
fi
version=$(sed -n 's/^project(ZarnGI VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
name=zarngi-$version
work=$output/work
rm -rf "$output"/*.deb "$output"/*.html "$output"/*.tar.gz "$output/SHA256SUMS" "$work"
mkdir -p "$work/page"

echo "== pages"
git archive HEAD | tar --extract --no-same-permissions --directory "$work/page"
cmake -S "$work/page" -B "$work/page/build" -G Ninja -DZARNGI_BUILD_CLI=OFF \
    -DZARNGI_BUILD_PYTHON=OFF -DZARNGI_BUILD_TESTS=OFF -DZARNGI_ENGINE_JOBS="$jobs" \
    -DZARNGI_COMMIT="$(git rev-parse --short=10 HEAD)" >"$work/page.log"
cmake --build "$work/page/build" --target zarngi_report_template zarngi_page >>"$work/page.log"

echo "== source archive"
mkdir "$work/$name"
git archive HEAD | tar --extract --no-same-permissions --directory "$work/$name"
cp -R "$work/page/build/web/front-end/dist" "$work/$name/web/prebuilt"
tar --create --directory "$work" --sort=name --format=gnu --mtime="@$SOURCE_DATE_EPOCH" \
    --owner=0 --group=0 --numeric-owner --mode=u+rw,go+r,go-w "$name" |
    gzip --best --no-name >"$output/$name.tar.gz"
rm -rf "${work:?}/$name" "$work/page"

echo "== Debian packages"
tar --extract --directory "$work" --file "$output/$name.tar.gz"
cd "$work/$name"
cmake --preset package >"$work/package.log"
cmake --build --preset package --parallel "$jobs" >>"$work/package.log"
cpack --config build/package/CPackConfig.cmake -B "$work/cpack" >>"$work/package.log"
mv "$work"/cpack/*.deb "$output/"
cp web/prebuilt/compare/zarngi.html "$output/"

cd "$output"
rm -rf "$work"
sha256sum ./*.tar.gz ./*.deb ./*.html | tee SHA256SUMS
