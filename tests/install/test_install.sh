#!/usr/bin/env bash
# Installs the built project into a scratch prefix and builds and runs the
# example consumer against the installed package with find_package.
set -euo pipefail
build="$1"
source="$2"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" > "$scratch/install.log"
cmake -S "$source/examples/consumer" -B "$scratch/consumer" \
  -DCMAKE_PREFIX_PATH="$scratch/prefix" > "$scratch/configure.log"
cmake --build "$scratch/consumer" > "$scratch/build.log"
test -f "$scratch/prefix/include/TesselCountersOrrery.h"
ls "$scratch"/prefix/lib*/libTesselCountersOrrery.so.1 > /dev/null
"$scratch/consumer/consumer"
