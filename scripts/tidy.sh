#!/usr/bin/env bash
# Runs clang-tidy with the checked-in configuration over the core, the
# platform stand-ins, the tool, the Python module and the generated accessor classes. Exits
# non-zero when it finds anything.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/build.sh > /dev/null
files=(core/src/*.cpp platform/src/*.cpp tools/tessel-counters/*.cpp)
if grep -q python/native.cpp build/compile_commands.json; then files+=(python/native.cpp); fi
while IFS= read -r f; do files+=("$f"); done < <(find build/generated/src -name '*.cpp' | sort)
status=0
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p build --quiet > build/tidy.log 2>&1 || status=$?
grep -v -E "^[0-9]+ warnings? generated|^Suppressed [0-9]+ warnings|^Use -header-filter|warnings? treated as errors" build/tidy.log || true
echo "clang-tidy: ${#files[@]} files, status $status"
exit "$status"
