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
          python3-pil python3-opencv gnuplot-nox)
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

cmake --preset release >/dev/null
cmake --build --preset release --target pixmorph_bench >/dev/null
mkdir -p out/bench
# The distribution's own interpreter: it is the one that sees the packaged libraries.
export PATH=/usr/bin:$PATH
bench=build/release/pixmorph_bench
$bench --rounds "$rounds" $peers --tsv out/bench/table.tsv
for isa in avx2 sse41 sse2 scalar; do
  $bench --rounds "$([ $isa = scalar ] && echo 1 || echo "$rounds")" --isa $isa --tsv "out/bench/table-$isa.tsv" || true
done
for store in cairo gdk; do
  command -v xvfb-run >/dev/null || [ "$store" = cairo ] || continue
  runner=; [ "$store" = gdk ] && runner="xvfb-run -a -s -screen\ 0\ 64x64x24"
  eval "$runner" $bench --rounds "$rounds" --store "$store" --tsv "out/bench/table-$store.tsv" || true
done
$bench --rounds 3 --sweep all --tsv out/bench/curves.tsv
python3 scripts/plot_bench.py out/bench
printf 'bench.sh: figures and plots are in out/bench\n'
