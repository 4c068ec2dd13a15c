#!/bin/sh
# What the build for Windows takes from source or from headers alone: windows-dependencies.sh FOLDER
# Debian has zlib compiled for Windows, but not libdeflate: that is compiled from Debian's source
# package, of the version that is installed here. Does nothing when all is there.
set -eu
mkdir -p "$1"
folder=$(cd "$1" && pwd)
apart=$(cd "$(dirname "$0")" && pwd)/apt-apart.sh
cross=x86_64-w64-mingw32

installed_version() {
    dpkg-query --show --showformat='${Version}' "$1"
}

version=$(installed_version libdeflate-dev)
mark=$folder/libdeflate-$version
if [ ! -e "$mark" ]; then
    work=$folder/work
    rm -rf "$work"
    mkdir -p "$work" "$folder/include" "$folder/lib"
    cd "$work"
    for step in update "source --download-only libdeflate=$version"; do
        # The step is meant to be split into words.
        # shellcheck disable=SC2086
        "$apart" "$work" deb-src libdeflate-dev $step
    done
    dpkg-source --extract libdeflate_*.dsc libdeflate
    for source in libdeflate/lib/*.c libdeflate/lib/x86/*.c; do
        $cross-gcc-posix -O2 -std=c11 -ffile-prefix-map="$work=." -Ilibdeflate \
            -c "$source" -o "$(echo "$source" | tr / _).o"
    done
    $cross-gcc-ar-posix rcsD "$folder/lib/libdeflate.a" ./*.o
    cp libdeflate/libdeflate.h "$folder/include/"
    cp libdeflate/COPYING "$folder/libdeflate-licence.txt"
    cd "$folder"
    rm -rf "$work"
    touch "$mark"
fi

# Headers alone: a folder of their own, since all of /usr/include would hide those of the compiler.
for name in CLI nlohmann; do
    ln -sfn "/usr/include/$name" "$folder/include/$name"
done
