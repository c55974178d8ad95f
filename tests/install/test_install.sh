#!/usr/bin/env bash
# Installs the built project into a scratch prefix, then builds the example
# consumer against the installed package twice, with find_package and with
# pkg-config, and runs both.
set -euo pipefail
build="$1"
source="$2"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/prefix"
cmake --install "$build" --prefix "$prefix" > "$scratch/install.log"
test -f "$prefix/include/TesselCountersOrrery.h"
ls "$prefix"/lib*/libTesselCountersOrrery.so.1 > /dev/null

# CMake: find_package(TesselCountersOrrery CONFIG).
cmake -S "$source/examples/consumer" -B "$scratch/consumer" \
  -DCMAKE_PREFIX_PATH="$prefix" > "$scratch/configure.log"
cmake --build "$scratch/consumer" > "$scratch/build.log"
"$scratch/consumer/consumer"

# pkg-config: the .pc file alone tells the compiler and the linker where
# the headers and both libraries are.
pc="$(ls "$prefix"/lib*/pkgconfig/TesselCountersOrrery.pc)"
export PKG_CONFIG_PATH="$(dirname "$pc")"
test "$(pkg-config --modversion TesselCountersOrrery)" = "$(sed -n 's/^Version: //p' "$pc")"
libdir="$(pkg-config --variable=libdir TesselCountersOrrery)"
# shellcheck disable=SC2046
"${CXX:-c++}" -std=c++17 -o "$scratch/consumer-pc" "$source/examples/consumer/main.cpp" \
  $(pkg-config --cflags --libs TesselCountersOrrery) -Wl,-rpath,"$libdir"
"$scratch/consumer-pc"
echo "installed package: find_package and pkg-config consumers built and ran"
