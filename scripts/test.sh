#!/usr/bin/env bash
# Builds everything and runs every test; exits non-zero when anything fails.
# Without arguments in ./build (GCC, RelWithDebInfo); given presets of
# CMakePresets.json (clang-debug, gcc-release, ...), once for each in turn.
#   scripts/test.sh [PRESET...]
set -euo pipefail
cd "$(dirname "$0")/.."
for preset in "${@:-default}"; do
  ./scripts/build.sh --preset "$preset"
  ctest --preset "$preset"
done
