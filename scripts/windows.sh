#!/bin/sh
# Makes the folder for 64-bit Windows, a zip of it and an installer: windows.sh OUTPUT [JOBS]
# The same sources give the same bytes: all times are that of the commit. ZARNGI_WINDOWS_OPTIONS in the
# environment are more options for CMake: -DZARNGI_BUILD_PAGE=OFF leaves the page out, which takes minutes.
set -eu
umask 022
export LC_ALL=C TZ=UTC
mkdir -p "$1"
output=$(cd "$1" && pwd)
jobs=${2:-2}
cd "$(dirname "$0")/.."

if [ -d .git ] || [ -f .git ]; then
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
    export SOURCE_DATE_EPOCH
fi
version=$(sed -n 's/^project(ZarnGI VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=zarngi-$version-windows-x64
build=build/windows

scripts/windows-dependencies.sh build/windows-dependencies
# The options are meant to be split into words.
# shellcheck disable=SC2086
cmake --preset windows ${ZARNGI_WINDOWS_OPTIONS:-} >"$output/$name.log"
cmake --build --preset windows --parallel "$jobs" >>"$output/$name.log"
rm -rf "${output:?}/$name" "$output/$name.zip" "$output/$name-setup.exe"
cmake --install $build --prefix "$output/$name" --strip >>"$output/$name.log"

scripts/check-needs.sh windows x86_64-w64-mingw32- "$output/$name"/*.exe "$output/$name"/*.dll

find "$output/$name" -exec touch --no-dereference --date="@${SOURCE_DATE_EPOCH:-0}" {} +
(cd "$output" && find "$name" -type f | sort | zip -q -X -9 -@ "$name.zip")

# The installer, and what its uninstaller takes away: the files by their names, then folders that are empty.
tools=$output/work
rm -rf "$tools"
mkdir "$tools"
cp $build/packaging/windows/zarngi-path.exe "$tools/"
x86_64-w64-mingw32-strip "$tools/zarngi-path.exe"
(cd "$output/$name" && {
    find . -type f | sort | sed 's#^\./#Delete "$INSTDIR\\#; s#/#\\#g; s#$#"#'
    find . -mindepth 1 -type d | sort -r | sed 's#^\./#RMDir "$INSTDIR\\#; s#/#\\#g; s#$#"#'
}) >"$tools/removal.nsh"
makensis -V2 -NOCD -DVERSION="$version" -DFOLDER="$output/$name" -DTOOLS="$tools" \
    -DREMOVAL="$tools/removal.nsh" -DOUTPUT="$output/$name-setup.exe" packaging/windows/installer.nsi \
    >>"$output/$name.log"
rm -rf "$tools" "$output/$name.log"
sha256sum "$output/$name.zip" "$output/$name-setup.exe"
