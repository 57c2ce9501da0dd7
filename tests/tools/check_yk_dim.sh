#!/usr/bin/env bash
# Runs `yk dim` on display and tag texts and compares its whole output and exit code.
set -u
yk=$1
failed=0

expect() {  # expected-exit expected-output args...
  local code=$1 want=$2
  shift 2
  local got rc
  got=$("$yk" dim "$@" 2>&1)
  rc=$?
  if [ "$rc" != "$code" ] || [ "$got" != "$want" ]; then
    printf 'yk dim %s\n  exit %s, wanted %s\n  got:\n%s\n  wanted:\n%s\n' "$*" "$rc" "$code" "$got" "$want" >&2
    failed=1
  fi
}

expect 0 'display:  1 1/2~2.000 "/0.250 "
tag:      [\ 1.5,2,0.25]
internal: value 0.038099999999999995, max 0.050799999999999998, step 0.0063499999999999997, unit 1 (")' \
  '[\ 1+1/2,2,0.25]'
expect 0 'display:  1 1/2 "
tag:      \ 1.5
internal: value 0.038099999999999995, max 0, step 0, unit 1 (")' -d 1 '1 1/2 "'
expect 0 'display:  12.50 mm
tag:      / 12.5
internal: value 0.012500000000000001, max 0, step 0, unit 0 (mm)' -d 2 mm 12.5
expect 0 'display:  2.000 mm2
tag:      (none for this unit)
internal: value 1.9999999999999999e-06, max 0, step 0, unit 2 (mm2)' '2 mm2'
expect 0 'display:  BSP 3/4
tag:      \p0.75
internal: value 0.019049999999999997, max 0, step 0, unit 5 (BSP)' '\p3/4'
expect 1 'yk dim: EXCEPTION ykstd_fail_ProgramError : ykstd_Dim::Read : unknown thread or angle [q]' '/q5'
expect 1 'yk dim: cannot read "/ 12 x" as a dimension in tag text' '/ 12 x'
expect 1 'yk dim: cannot read "feet 3" as a dimension in display text' 'feet 3'
expect 2 'usage: yk dim [-d DECIMALS] TEXT...'
exit $failed
