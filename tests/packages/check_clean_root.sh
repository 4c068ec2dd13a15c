#!/bin/sh
# Installs the packages on a bare Debian 12, uses them there, and removes them again:
# check_clean_root.sh ROOT DIRECTORY
#
# For root. ROOT is what `debootstrap --variant=minbase bookworm ROOT` makes, with /proc and /dev
# mounted and a network that apt can use; it is changed. First the program and the Python package
# are used on a machine without compilers, then the development files.
set -eu
root=$1
packages=$2
here=$(cd "$(dirname "$0")" && pwd)
place=/opt/zarngi-packages
kept="libzarngi4 libzarngihost1 zarngi python3-zarngi libzarngi-dev"

inside() {
    chroot "$root" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}

install() {
    inside apt-get install -q -y --no-install-recommends "$@" >"$root$place/apt.log" 2>&1 || {
        cat "$root$place/apt.log"
        exit 1
    }
}

rm -rf "${root:?}$place"
mkdir -p "$root$place"
cp "$packages"/*.deb "$here/use.sh" "$here/build_examples.sh" "$root$place"
inside apt-get update -q >/dev/null

echo "== without compilers"
install man-db
for name in libzarngi4 libzarngihost1 zarngi python3-zarngi; do
    install "$place/$(basename "$packages/${name}"_*.deb)"
done
if inside sh -c "command -v cc || command -v cmake"; then
    echo "The root is not bare."
    exit 1
fi
inside "$place/use.sh" runtime

echo "== with compilers"
install "$place/$(basename "$packages"/libzarngi-dev_*.deb)" g++ cmake make pkg-config
inside "$place/use.sh" development

echo "== removed"
# shellcheck disable=SC2086
inside apt-get purge -q -y $kept >/dev/null
left=$(inside find / -xdev -ipath '*zarngi*' -not -path "$place*" -not -path '/proc/*')
if [ -n "$left" ]; then
    echo "Left behind: $left"
    exit 1
fi
echo "Installed, used and removed."
