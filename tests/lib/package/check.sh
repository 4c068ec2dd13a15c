#!/bin/sh
# Installs the library and builds the examples against what was installed:
# check.sh SOURCE-DIRECTORY BUILD-DIRECTORY SCRATCH-DIRECTORY
set -eu
source=$1
build=$2
scratch=$3
prefix=$scratch/prefix

rm -rf "$scratch"
for component in library host development; do
    cmake --install "$build" --prefix "$prefix" --component $component >/dev/null
done

# The files must not lead back to the build: it is moved away from the examples' sight.
mv "$prefix" "$scratch/moved"
"$source/tests/packages/build_examples.sh" "$scratch/moved" "$source/examples" "$scratch"
