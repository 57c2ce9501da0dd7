#!/usr/bin/env bash
# Builds a small consumer against an installed copy of the library and as a subproject, and
# checks that the shared library exports only the public API.
set -euo pipefail
source_dir=$1
build_dir=$2
library=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
cmake -S "$source_dir/tests/package/consumer" -B "$work/installed" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/installed" >/dev/null
expected="EXCEPTION ykstd_fail_OutOfRange : consumer"
[ "$(LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib64" "$work/installed/consumer")" = "$expected" ]

# The installed tool runs in an empty environment: it finds its library through its own run path.
if [ -x "$work/prefix/bin/yk" ]; then
  env -i "$work/prefix/bin/yk" demo | grep -qx 'eval mm(10)+in(1)/2 -> 22.7 mm'
fi

cmake -S "$source_dir/tests/package/consumer" -B "$work/sub" -G Ninja -DYKSTD_SOURCE="$source_dir" >/dev/null
cmake --build "$work/sub" --target consumer >/dev/null
[ "$("$work/sub/consumer")" = "$expected" ]

# Internal helpers stay hidden.
if nm -D --defined-only -C "$library" | grep -E 'ykstd_detail::|anonymous namespace' ; then
  echo "internal symbols are exported" >&2
  exit 1
fi
echo "package ok"
