#!/bin/sh
# What the build for 64-bit ARM links in, from Debian's packages for it: arm64-dependencies.sh FOLDER
# They are unpacked, not installed. Does nothing when all is there.
set -eu
mkdir -p "$1"
folder=$(cd "$1" && pwd)
apart=$(cd "$(dirname "$0")" && pwd)/apt-apart.sh

for package in zlib1g-dev libdeflate-dev libssl-dev; do
    mark=$folder/$package
    [ ! -e "$mark" ] || continue
    work=$folder/work
    rm -rf "$work"
    mkdir -p "$work"
    cd "$work"
    for step in update "download $package:arm64"; do
        # The step is meant to be split into words.
        # shellcheck disable=SC2086
        "$apart" "$work" deb $package -o APT::Architecture=arm64 -o APT::Architectures=arm64 $step
    done
    dpkg-deb --extract "$package"_*_arm64.deb "$folder"
    cd "$folder"
    rm -rf "$work"
    touch "$mark"
done
# The compiler does not look into the folder of the architecture.
cp -R "$folder/usr/include/aarch64-linux-gnu/." "$folder/usr/include/"

# Headers alone: a folder of their own, since all of /usr/include would hide those of the compiler.
for name in CLI nlohmann; do
    ln -sfn "/usr/include/$name" "$folder/usr/include/$name"
done
