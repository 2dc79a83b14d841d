#!/usr/bin/env bash
# Usage: check_isa_objects.sh OBJECT...
# Among the objects, those of one instruction set (by their names) may share no code with others: a weak symbol
# could be the copy that the linker keeps for everybody, and then an old processor meets an instruction it lacks.
set -euo pipefail
export LC_ALL=C

checked=0
faults=0
for object in "$@"; do
  [[ $object =~ _(sse2|sse41|avx2|avx512)\.cpp\.o$ ]] || continue
  checked=$((checked + 1))
  symbols=$(nm "$object")
  weak=$(grep -E '^[0-9a-f ]{8} [WwVvu] ' <<<"$symbols" || true)
  library=$(grep -E ' U (_ZN?K?S[tasiod]|_Z[nd][awl]|__cxa_|__gxx_)' <<<"$symbols" || true)
  if [ -n "$weak$library" ]; then
    printf '%s:\n%s\n' "$object" "$weak$library"
    faults=$((faults + 1))
  fi
done
printf '%d objects of one instruction set, %d with faults\n' "$checked" "$faults"
[ "$checked" -gt 0 ] && [ "$faults" -eq 0 ]
