#!/bin/sh
# Runs apt-get with lists of its own, so that what the system has enabled is left as it is:
# apt-apart.sh FOLDER KIND PACKAGE ARGUMENT... FOLDER takes the lists, KIND is deb or deb-src, and the
# places are those from which PACKAGE comes here.
set -eu
folder=$1
kind=$2
package=$3
shift 3
mkdir -p "$folder/lists/partial"
apt-cache policy "$package" | awk -v kind="$kind" '$2 ~ /^https?:/ { split($3, of, "/")
    print kind, "[signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]", $2, of[1], of[2] }' |
    sort -u >"$folder/sources.list"
exec apt-get -q -o Dir::Etc::SourceList="$folder/sources.list" -o Dir::Etc::SourceParts=- \
    -o Dir::State::Lists="$folder/lists" -o APT::Sandbox::User=root "$@"
