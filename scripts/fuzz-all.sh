#!/usr/bin/env bash
# Builds every libFuzzer target with clang and runs each for FUZZ_SECONDS (60 by default) on its
# seed corpus (fuzz/corpus/<target>/); any finding fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${FUZZ_SECONDS:-60}
shopt -s nullglob
targets=(fuzz/fuzz_*.cxx)
[ ${#targets[@]} -gt 0 ] || exit 0

cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++-14 \
      -DYKSTD_BUILD_FUZZ=ON -DYKSTD_BUILD_TESTS=OFF -DYKSTD_BUILD_TOOLS=OFF
cmake --build build/fuzz -j "$(nproc)"

for src in "${targets[@]}"; do
  name=$(basename "$src" .cxx)
  work=build/fuzz/run/$name
  rm -rf "$work" && mkdir -p "$work/corpus"
  [ -d "fuzz/corpus/$name" ] && cp -r "fuzz/corpus/$name/." "$work/corpus/"
  echo "== $name: ${seconds}s"
  ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 \
    "build/fuzz/fuzz/$name" -max_total_time="$seconds" -rss_limit_mb=2048 -malloc_limit_mb=1048576 -timeout=10 \
    -artifact_prefix="$work/" -print_final_stats=1 "$work/corpus" > "$work/log" 2>&1 || {
      tail -60 "$work/log"; echo "fuzz target $name found a fault" >&2; exit 1; }
  grep -E '^(stat::number_of_executed_runs|Done)' "$work/log" || true
done
