#!/usr/bin/env bash
# Configures and builds the library, the tool, the tests and the benchmarks
# with one CMake preset of CMakePresets.json: without one, "default" (GCC,
# RelWithDebInfo, in ./build). Further arguments go to the configuration.
#   scripts/build.sh [--preset NAME] [-DVAR=VALUE...]
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh
preset=default
if [[ ${1:-} == --preset ]]; then
  preset=$2
  shift 2
fi
log=build.log
[[ $preset == default ]] || log=build-$preset.log
cmake --preset "$preset" "$@" > "$log" 2>&1 || { cat "$log"; exit 1; }
cmake --build --preset "$preset"
