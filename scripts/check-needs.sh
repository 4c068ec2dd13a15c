#!/bin/sh
# Holds programs and libraries to what every system of a kind brings:
# check-needs.sh linux|windows PREFIX FILE... PREFIX is that of the compiler's tools.
#
# linux: the libraries and versions of symbols that manylinux_2_34 promises, which Debian 12, Ubuntu 22.04,
# RHEL 9 and what is newer have. windows: the system's own libraries, and no vectors moved on the stack as
# if it were aligned to more than 16 bytes.
set -eu
kind=$1
objdump=${2}objdump
shift 2

fail() {
    echo "check-needs.sh: $*" >&2
    exit 1
}

linux_libraries='lib(c|m)\.so\.6|libgcc_s\.so\.1|libstdc\+\+\.so\.6|ld-linux-.*\.so\.[12]|libZarnGI\.so\.4'
linux_symbols="GLIBC:2.34 GLIBCXX:3.4.29 CXXABI:1.3.13 GCC:11.0"
windows_libraries='(kernel32|msvcrt|bcrypt|crypt32|shell32|user32|advapi32|libZarnGI)\.dll'

check_linux() {
    others=$("$objdump" -p "$1" | sed -n 's/^ *NEEDED *//p' | grep -v -x -E "$linux_libraries" || true)
    [ -z "$others" ] || fail "$1 needs $others"
    for limit in $linux_symbols; do
        most=${limit#*:}
        newest=$("$objdump" -T "$1" | grep -o -E "\b${limit%:*}_[0-9.]+" | sed 's/.*_//' | sort -V | tail -n 1)
        [ "$(printf '%s\n' "${newest:-0}" "$most" | sort -V | tail -n 1)" = "$most" ] ||
            fail "$1 needs ${limit%:*}_$newest, which is newer than ${limit%:*}_$most"
    done
}

check_windows() {
    others=$("$objdump" -p "$1" | sed -n 's/.*DLL Name: //p' | grep -v -i -x -E "$windows_libraries" || true)
    [ -z "$others" ] || fail "$1 needs $others"
    if "$objdump" --disassemble "$1" | grep -E 'v(movap[sd]|movdqa(32|64)?|movntdq|movntp[sd])[[:space:]].*%[yz]mm' |
        grep -E -m 3 '\((%rsp|%rbp)'; then
        fail "$1 moves aligned vectors on the stack"
    fi
}

for file in "$@"; do
    "check_$kind" "$file"
done
