#!/usr/bin/env bash
# Builds the kernels and their tests as 64-bit programs and runs them on the processor itself. An emulator that runs
# the 32-bit tests may know less than the processor does (AVX-512), and is slower by far.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/rehearsal64
cmake --preset rehearsal64 >/dev/null
cmake --build "$build" --target test_kernels pixmorph_bench >/dev/null
"$build/test_kernels" --gtest_brief=1
python3 tests/checksums/check.py "$build/pixmorph_bench"
