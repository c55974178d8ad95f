#!/usr/bin/env bash
# pip install . on a clean copy of the tracked files, into a fresh venv that
# sees Debian's packages and no package index; then the package imports from
# the venv alone, with the copy gone.
#   test_pip_install.sh SOURCE PYTHON
set -euo pipefail
source="$1"
python="$2"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/tree"
git -C "$source" ls-files -z | tar -C "$source" --null -T - -cf - | tar -C "$scratch/tree" -xf -
"$python" -m venv --system-site-packages "$scratch/venv"
# Unoptimised and without debug information: the test is of the install, and
# this build costs a third of the CPU time of the default Release one.
export CMAKE_ARGS="-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0"
(cd "$scratch/tree" && PIP_NO_INDEX=1 "$scratch/venv/bin/python" -m pip install -q \
  --no-build-isolation --no-index . > "$scratch/pip.log" 2>&1) || { cat "$scratch/pip.log"; exit 1; }
rm -rf "$scratch/tree"
cd "$scratch"
env -u LD_LIBRARY_PATH -u PYTHONPATH "$scratch/venv/bin/python" -c '
import os, sys, tessel_counters as tc
here = os.path.dirname(tc.__file__)
assert here.startswith(sys.argv[1]), here
for name in ("__init__.pyi", "py.typed"):
    assert os.path.isfile(os.path.join(here, name)), name
r = tc.open("CrpsEngineCfg", "BCM88690_B0")
r.engineNMode = 5
assert bytes(r)[0] == 5 and tc.__version__ == sys.argv[2], (r.hex(), tc.__version__)
' "$scratch/venv/" "$(sed -n 's/^project(TesselCountersOrrery VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")"
echo "pip install: the package imports from a fresh venv"
