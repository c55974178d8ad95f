#!/usr/bin/env bash
# Installs what a fresh Debian machine lacks to build and test the project.
# Packages already present are left alone, so a second run costs nothing.
set -euo pipefail

# chromium (headless) runs the reference site's test in a real browser;
# abigail-tools compares the interface of two builds (abidiff); clang-format
# checks the layout of the generated C++.
# python3-venv, -pip, -setuptools and -wheel: pip install . (the test python_pip_install).
packages=(cmake g++ clang clang-format make python3 python3-dev python3-jsonschema python3-pytest pkg-config
          python3-venv python3-pip python3-setuptools python3-wheel
          googletest libgtest-dev libgmock-dev libbenchmark-dev pybind11-dev libclang-rt-14-dev chromium
          abigail-tools nlohmann-json3-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
echo "bootstrap: installing ${missing[*]}" >&2
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
