#!/usr/bin/env bash
# Builds everything and runs every test; exits non-zero when anything fails.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh
ctest --test-dir build -j "$(nproc)" --output-on-failure
