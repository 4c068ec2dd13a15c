#!/bin/sh
# Makes the folder for 64-bit Windows, and a zip of it: windows.sh OUTPUT [JOBS]
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
rm -rf "${output:?}/$name" "$output/$name.zip"
cmake --install $build --prefix "$output/$name" --strip >>"$output/$name.log"

# They need the system's own libraries, and each other.
for file in "$output/$name"/*.exe "$output/$name"/*.dll; do
    x86_64-w64-mingw32-objdump --private-headers "$file" | sed -n 's/.*DLL Name: //p' |
        grep -v -i -x -E 'kernel32\.dll|msvcrt\.dll|bcrypt\.dll|crypt32\.dll|shell32\.dll|user32\.dll|advapi32\.dll|libZarnGI\.dll' &&
        { echo "$0: $file needs what Windows does not bring" >&2; exit 1; }
done
# The stack is aligned to 16 bytes: no aligned move of more stands in what is built.
for file in "$output/$name"/*.exe "$output/$name"/*.dll; do
    if x86_64-w64-mingw32-objdump --disassemble "$file" |
        grep -E 'v(movap[sd]|movdqa(32|64)?|movntdq|movntp[sd])[[:space:]].*%[yz]mm' | grep -E -m 3 '\((%rsp|%rbp)'; then
        echo "$0: $file moves aligned vectors on the stack" >&2
        exit 1
    fi
done

find "$output/$name" -exec touch --no-dereference --date="@${SOURCE_DATE_EPOCH:-0}" {} +
(cd "$output" && find "$name" -type f | sort | zip -q -X -9 -@ "$name.zip")
rm -f "$output/$name.log"
ls -l "$output/$name.zip"
sha256sum "$output/$name.zip"
