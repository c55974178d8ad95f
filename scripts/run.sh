#!/usr/bin/env bash
# Builds the library and runs the command-line tool over it. Arguments go to
# the tool; without any it describes one register.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh > /dev/null
if [ $# -eq 0 ]; then
  set -- describe CrpsModulesrcCfg --chip BCM88860_A0
fi
exec ./build/tessel-counters "$@"
