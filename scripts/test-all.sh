#!/usr/bin/env bash
# The whole test suite: a Release build and a Debug build under AddressSanitizer and
# UndefinedBehaviorSanitizer, each with every CTest suite.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs=$(nproc)

cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DYKSTD_BUILD_BENCH=ON
cmake --build build/release -j "$jobs"
ctest --test-dir build/release --output-on-failure -j "$jobs"

cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DYKSTD_SANITIZE=address,undefined
cmake --build build/asan -j "$jobs"
ctest --test-dir build/asan --output-on-failure -j "$jobs"

if [ -x scripts/fuzz-all.sh ]; then bash scripts/fuzz-all.sh; fi
