#!/usr/bin/env bash
# Installs the Debian packages the project needs to build, test and benchmark, skipping those present.
# Usage: scripts/install-deps.sh [extra-package ...]
set -euo pipefail

packages=(g++ make cmake libboost-dev libomp-dev libgtest-dev libgmock-dev googletest libbenchmark-dev
          libcli11-dev nlohmann-json3-dev clang libclang-rt-14-dev
          pybind11-dev python3-dev python3-numpy python3-pytest python3-matplotlib python3-scipy python3-sklearn
          "$@")

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "Installing missing packages: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
    sudo_cmd=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
