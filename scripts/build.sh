#!/usr/bin/env bash
# Configures and builds the library, the tool and the tests in ./build.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" > build.log 2>&1 || { cat build.log; exit 1; }
cmake --build build -j "$(nproc)"
