#!/usr/bin/env bash
# Builds and runs the benchmark: the table against every peer that can be installed, and the curves.
# Results: out/bench/*.tsv and plots (SVG). Usage: ./bench.sh [--quick] [--no-peers]
set -euo pipefail
cd "$(dirname "$0")"

rounds=9 peers=--peers
for argument in "$@"; do
  case "$argument" in
    --quick) rounds=3 ;;
    --no-peers) peers= ;;
    *) sed -n '2,3s/^# //p' "$0"; [ "$argument" = --help ] || [ "$argument" = -h ] && exit 0; exit 2 ;;
  esac
done

./scripts/setup.sh
optional=(libpixman-1-0:i386 libgdk-pixbuf-2.0-0:i386 libswscale6:i386 libzimg2:i386 libzimg-dev libstb-dev
          python3-pil python3-opencv gnuplot-nox valgrind)
as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }
suite=$(. /etc/os-release && printf '%s' "$VERSION_CODENAME")
for package in "${optional[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' && continue
  for extra in "" "-t $suite"; do
    # shellcheck disable=SC2086
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $extra "$package" \
      >/dev/null 2>&1 && continue 2
  done
  printf 'bench.sh: %s can not be installed; going on without it\n' "$package" >&2
done

# Where the kernel refuses 32-bit programs only a 64-bit rehearsal says anything about speed.
preset=release
if [ -e /proc/sys/fs/binfmt_misc/pixmorph-i386 ]; then
  preset=rehearsal64
  printf 'bench.sh: 32-bit programs run in an emulator here; measuring the 64-bit rehearsal\n'
fi
build() { cmake --preset "$1" >/dev/null && cmake --build --preset "$1" --target "${@:2}" >/dev/null; }
build $preset pixmorph_bench
mkdir -p out/bench
# The distribution's own interpreter: it is the one that sees the packaged libraries.
export PATH=/usr/bin:$PATH
bench=build/$preset/pixmorph_bench plain=$bench
# Over plain memory, for what would drown in the time that surfaces, pixmaps and the stand-in's services take.
if [ $preset = release ]; then
  build release pixmorph_bench_plain
  plain=build/release/pixmorph_bench_plain
fi
# shellcheck disable=SC2086
$bench --rounds "$rounds" $peers --tsv out/bench/table.tsv | tee out/bench/table.txt
head -n 1 out/bench/table.txt >out/bench/origin.txt
for isa in avx2 sse2; do
  # shellcheck disable=SC2086
  $bench --rounds "$rounds" --isa $isa $peers --tsv "out/bench/table-$isa.tsv" || true
done
$bench --rounds "$rounds" --levels --tsv out/bench/levels.tsv
$plain --rounds "$rounds" --stores --tsv out/bench/stores.tsv
$bench --rounds "$rounds" --contents --tsv out/bench/contents.tsv
$bench --rounds "$rounds" --gaps --tsv out/bench/gaps.tsv
$bench --rounds 5 --sweep all --tsv out/bench/curves.tsv
$plain --rounds "$rounds" --sweep icons --tsv out/bench/icons.tsv
# Valgrind knows AVX2 in 64-bit programs only.
if command -v valgrind >/dev/null; then
  build rehearsal64 pixmorph_bench
  python3 scripts/count_instructions.py build/rehearsal64/pixmorph_bench out/bench/instructions.tsv
fi

# Memory is counted by the 32-bit program, emulated or not.
build release pixmorph_bench
build/release/pixmorph_bench --memory --isa sse2 --tsv out/bench/memory.tsv

python3 scripts/plot_bench.py out/bench
python3 scripts/make_performance_page.py out/bench
printf 'bench.sh: figures and plots are in out/bench; docs/performance.md shows them\n'
