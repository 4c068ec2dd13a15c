#!/bin/sh
# Makes the wheels for Python, with libraries and program inside: wheels.sh OUTPUT [JOBS] [PLATFORM...]
# PLATFORM is x86_64, aarch64 or windows; by default all of them. The same sources give the same bytes:
# all times are that of the commit. What the tags promise is checked by scripts/check-needs.sh.
set -eu
umask 022
export LC_ALL=C TZ=UTC PYTHONDONTWRITEBYTECODE=1
mkdir -p "$1"
output=$(cd "$1" && pwd)
jobs=${2:-2}
[ $# -lt 2 ] || shift
shift
platforms=${*:-x86_64 aarch64 windows}
cd "$(dirname "$0")/.."
top=$PWD

if [ -d .git ] || [ -f .git ]; then
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
    export SOURCE_DATE_EPOCH
fi
version=$(sed -n 's/^project(ZarnGI VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)

# licences FOLDER PACKAGE...: the terms of what is linked in, as Debian states them.
licences() {
    folder=$1
    shift
    for package in "$@"; do
        cp "/usr/share/doc/$package/copyright" "$folder/$package.txt"
    done
}

# What CMake has found.
cached() {
    sed -n "s/^$1:INTERNAL=//p" "$build/CMakeCache.txt"
}

# make_wheel PRESET TAG PREFIX PROGRAM LIBRARY...: the tools of the compiler have the prefix.
make_wheel() {
    preset=$1 tag=$2 prefix=$3 program=$4
    shift 4
    kind=linux
    [ "$preset" != windows ] || kind=windows
    echo "== $tag"
    build=$top/build/$preset
    cmake --preset "$preset" >"$output/$tag.log"
    cmake --build --preset "$preset" --parallel "$jobs" --target zarngi ZarnGI ZarnGIHost >>"$output/$tag.log"
    built=$build/package
    rm -rf "$built"
    mkdir -p "$built/lib/licences" "$built/cohort"
    cp "$build/cli/$program" "$@" "$built/lib/"
    "${prefix}strip" --strip-unneeded "$built"/lib/zarngi* "$built"/lib/lib*.*
    scripts/check-needs.sh "$kind" "$prefix" "$built"/lib/zarngi* "$built"/lib/lib*.*
    cp "$(cached ZARNGI_REPORT_TEMPLATE)" "$built/report.html"
    cp "$(cached ZARNGI_COHORT_TEMPLATE)" "$built/cohort/page.html"
    licences "$built/lib/licences" libcli11-dev nlohmann-json3-dev
    if [ "$kind" = windows ]; then
        licences "$built/lib/licences" libz-mingw-w64-dev gcc-mingw-w64-base mingw-w64-common
        cp build/windows-dependencies/libdeflate-licence.txt "$built/lib/licences/"
    else
        licences "$built/lib/licences" libdeflate-dev libssl-dev zlib1g-dev
    fi
    (cd python && ZARNGI_BUILT=$built /usr/bin/python3 setup.py -q bdist_wheel --plat-name "$tag" \
        --dist-dir "$output" >>"$output/$tag.log" 2>&1) || { cat "$output/$tag.log" >&2; exit 1; }
    rm -rf "$output/$tag.log" python/zarngi.egg-info
    sha256sum "$output/zarngi-$version-py3-none-$tag.whl"
}

for platform in $platforms; do
    case $platform in
        x86_64)
            make_wheel wheel manylinux_2_34_x86_64 "" zarngi \
                build/wheel/lib/libZarnGI.so.4 build/wheel/host/libZarnGIHost.so.1
            ;;
        aarch64)
            scripts/arm64-dependencies.sh build/arm64-dependencies
            make_wheel wheel-arm64 manylinux_2_34_aarch64 aarch64-linux-gnu- zarngi \
                build/wheel-arm64/lib/libZarnGI.so.4 build/wheel-arm64/host/libZarnGIHost.so.1
            ;;
        windows)
            scripts/windows-dependencies.sh build/windows-dependencies
            make_wheel windows win_amd64 x86_64-w64-mingw32- zarngi.exe \
                build/windows/lib/libZarnGI.dll build/windows/host/libZarnGIHost.dll
            ;;
        *)
            echo "$0: $platform is none of x86_64, aarch64, windows" >&2
            exit 2
            ;;
    esac
done
