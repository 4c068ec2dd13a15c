#!/bin/sh
# Installs the Debian packages that are missing: install-deps.sh demo|page|package|test|arm64|windows|check-windows|wheels
# Does nothing, and needs no privileges, when all are there.
set -eu

demo_packages="
    g++ cmake ninja-build pkg-config python3
    libcli11-dev nlohmann-json3-dev
    libgdcm-dev zlib1g-dev libdeflate-dev libssl-dev"

page_packages="
    emscripten"

package_packages="
    dpkg-dev file man-db python3-numpy"

test_packages="
    clang clang-format clang-tidy libclang-rt-14-dev lcov
    libgtest-dev googletest libbenchmark-dev libgdcm-tools libnlopt-dev
    python3-dev python3-pip python3-setuptools python3-venv python3-wheel
    python3-pytest python3-numpy python3-pandas python3-matplotlib python3-nibabel python3-pydicom
    python3-distributed python3-jsonschema procps
    python3-markdown-it python3-vtk9 teem-apps dicom3tools dcmtk
    python3-pil python3-tifffile libtiff-tools
    chromium firefox-esr doxygen graphviz"

arm64_packages="
    g++-aarch64-linux-gnu qemu-user"

windows_packages="
    g++-mingw-w64-x86-64-posix libz-mingw-w64-dev dpkg-dev zip unzip
    mandoc nsis python3-markdown-it"

check_windows_packages="
    wine wine64 qemu-user python3-jsonschema python3-nibabel python3-numpy python3-pydicom"

wheels_packages="
    file python3-numpy python3-pip python3-pydicom python3-pytest python3-setuptools python3-venv python3-wheel"

case "${1:-}" in
    demo) wanted=$demo_packages ;;
    page) wanted="$demo_packages $page_packages" ;;
    package) wanted="$demo_packages $page_packages $package_packages" ;;
    test) wanted="$demo_packages $page_packages $package_packages $test_packages" ;;
    arm64) wanted="$demo_packages $package_packages libgtest-dev googletest $arm64_packages" ;;
    windows) wanted="$demo_packages $page_packages $windows_packages" ;;
    check-windows) wanted="$demo_packages $page_packages $windows_packages $check_windows_packages" ;;
    wheels) wanted="$demo_packages $windows_packages $arm64_packages $wheels_packages" ;;
    *) echo "usage: $0 demo|page|package|test|arm64|windows|check-windows|wheels" >&2; exit 2 ;;
esac
# Any Node.js will do: the report page needs npm and node, not Debian's packages of them. A source
# archive brings the page along, and only its tests need them.
page=$(dirname "$0")/../web/prebuilt/report/template.html
if [ "$1" = test ] || { [ "$1" != arm64 ] && [ ! -e "$page" ]; }; then
    if ! command -v npm >/dev/null || ! command -v node >/dev/null; then
        wanted="$wanted nodejs npm"
    fi
fi

is_installed() {
    [ "$(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=""
for package in $wanted; do
    is_installed "$package" || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "$0: run as root to install:$missing" >&2
        exit 1
    fi
    as_root=sudo
fi
echo "Installing:$missing"
$as_root apt-get update -q
# The list is meant to be split into words.
# shellcheck disable=SC2086
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $missing
