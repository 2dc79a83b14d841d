#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test. Usage: ./test.sh [PRESET] [ctest arguments]
# Presets: release (default), debug, asan-ubsan, clang.
set -euo pipefail
cd "$(dirname "$0")"

preset=release
case "${1:-}" in
  -h | --help) sed -n '2,3s/^# //p' "$0"; exit 0 ;;
  release | debug | asan-ubsan | clang) preset=$1; shift ;;
esac

log=$(mktemp)
trap 'rm -f "$log"' EXIT
quietly() {
  "$@" >"$log" 2>&1 || { tail -n 60 "$log"; printf 'test.sh: failed: %s\n' "$*" >&2; exit 1; }
}

./scripts/setup.sh
printf 'test.sh: configuring and building preset %s\n' "$preset"
quietly cmake --preset "$preset"
quietly cmake --build --preset "$preset"
ctest --preset "$preset" --parallel "$(nproc)" "$@"
