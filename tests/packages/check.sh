#!/bin/sh
# Checks the Debian packages in a directory: their contents, dependencies and, unpacked, their use.
# check.sh DIRECTORY
set -eu
here=$(cd "$(dirname "$0")" && pwd)
packages=$(cd "$1" && pwd)
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
export LC_ALL=C

for package in "$packages"/*.deb; do
    dpkg-deb --extract "$package" "$root"
done
libdir=$(dirname "$(find "$root/usr/lib" -name libZarnGI.so.4 -not -path '*/dist-packages/*')")

# The dependencies without versions, then mode and name of each file, as in contents/.
described() {
    echo "Depends: $(dpkg-deb --field "$1" Depends | sed 's/ ([^)]*)//g; s/, /\n/g' | sort | xargs)"
    dpkg-deb --contents "$1" |
        awk '$1 !~ /^d/ { print $1, substr($6, 3) ($7 ? " -> " $8 : "") }' |
        sed "/dist-packages/! s#${libdir#"$root"/}/#@LIBDIR@/#" | sort -k2
}

failed=0
for expected in "$here"/contents/*.txt; do
    name=$(basename "$expected" .txt)
    echo "== $name"
    package=$(find "$packages" -maxdepth 1 -name "${name}_*.deb")
    if [ -z "$package" ] && [ "$name" = zarngi-page ]; then
        echo "left out: it was built without emscripten"
        continue
    fi
    # Built for one architecture, the Python package carries the libraries inside.
    described "$package" | grep -v ' usr/lib/python3/dist-packages/zarngi/lib/libZarnGI.*\.so' |
        diff "$expected" - || failed=1
done
if [ $failed != 0 ]; then
    echo "The packages differ from $here/contents."
    exit 1
fi

# Whoever exports a function says since which version, and whoever uses it depends on that one.
control=$(mktemp -d)
trap 'rm -rf "$root" "$control"' EXIT
tests=$here/..
for library in libzarngi4:lib/abi libzarngihost1:files; do
    package=${library%%:*}
    expected=$tests/${library#*:}/exported_symbols.txt
    tree=$control/$package
    dpkg-deb --raw-extract "$packages/$package"_*.deb "$tree"
    sed -n 's/^ \(.*\)@Base .*/\1/p' "$tree/DEBIAN/symbols" | sort >"$control/told"
    cut -d ' ' -f 1 "$expected" | sort | diff - "$control/told" || {
        echo "The symbols file of $package does not name what $expected does."
        exit 1
    }
done
mkdir -p "$control/debian"
echo "Source: x" >"$control/debian/control"
(cd "$control" && dpkg-shlibdeps -O -Slibzarngi4 -Slibzarngihost1 "$root/usr/bin/zarngi") |
    grep 'libzarngi4 (>= 4\.10\.0)'
version=$(sed -n 's/^project(ZarnGI VERSION \([0-9.]*\) .*/\1/p' "$here/../../CMakeLists.txt")
dpkg-deb --info "$packages"/libzarngi4_*.deb shlibs | grep -x "libZarnGI 4 libzarngi4 (>= $version.*)"
dpkg-deb --info "$packages"/libzarngihost1_*.deb shlibs |
    grep -x "libZarnGIHost 1 libzarngihost1 (>= $version.*)"
"$here/use.sh" runtime "$root"
"$here/use.sh" development "$root"
