#!/usr/bin/env bash
# Installs what building and testing ykstd needs on Debian 12 (run as root).
set -euo pipefail
packages=(cmake ninja-build g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev
          libgsf-1-dev libgsf-bin python3 python3-olefile clang-14 libclang-rt-14-dev
          libboost-serialization-dev libcereal-dev libmuparser-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
