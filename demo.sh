#!/usr/bin/env bash
# Builds the plugin and shows it at work: puts photographs through its five methods in every mode of the runtime
# and makes one page of the results.
#
#   ./demo.sh [PHOTO ...]      PNG or JPEG files; without any, the pictures in media/
set -euo pipefail

begun=$SECONDS
start=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")"
out=out
build=build/release

say() { printf '%s\n' "$*"; }
die() { printf 'demo: %s\n' "$*" >&2; exit 1; }

case "${1:-}" in
  -h | --help) sed -n '2,5s/^# \{0,1\}//p' "$0"; exit 0 ;;
  -*) die "there is no option $1: ./demo.sh [PHOTO ...]" ;;
esac

# Names are meant as seen from where the command was typed.
photos=()
for photo in "$@"; do
  case "$photo" in
    /*) photos+=("$photo") ;;
    *) photos+=("$start/$photo") ;;
  esac
done
[ "${#photos[@]}" -gt 0 ] || photos=(media/astronaut.jpg media/chelsea.jpg media/coffee.jpg media/rocket.jpg)

# Runs a step silently; what it said is shown only when it fails.
quietly() {
  local what=$1 log
  shift
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    rm -f "$log"
    die "$what failed; what it said last stands above"
  fi
  rm -f "$log"
}

display_pid=
jobs_running=()
clean_up() {
  local pid
  for pid in "${jobs_running[@]}" $display_pid; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# One X server for the run; every gallery of the gdk mode would start its own otherwise.
start_display() {
  [ -z "${DISPLAY:-}" ] || return 0
  command -v Xvfb >/dev/null || return 1
  local number_file
  number_file=$(mktemp)
  Xvfb -displayfd 3 -screen 0 640x480x24 -nolisten tcp 3>"$number_file" >/dev/null 2>&1 &
  display_pid=$!
  for _ in $(seq 100); do
    [ -s "$number_file" ] && break
    kill -0 "$display_pid" 2>/dev/null || break
    sleep 0.1
  done
  export DISPLAY=":$(cat "$number_file")"
  rm -f "$number_file"
  [ "$DISPLAY" != ":" ]
}

say "demo: preparing (scripts/setup.sh)"
./scripts/setup.sh || die "the machine could not be prepared; see above"
say "demo: building"
[ -f "$build/build.ninja" ] || quietly "configuring" cmake --preset release
quietly "building" cmake --build "$build" --target pixmorph_plugin pixmorph_tool
built=$SECONDS

rm -rf "$out"
mkdir -p "$out"
modes=(console cairo)
if start_display; then modes+=(gdk); else say "demo: no display and no Xvfb, so the gdk mode is left out"; fi

# All kernels and radii once; in the other modes each method once, since every mode gives the same pictures.
brief=()
for mode in "${modes[@]}"; do
  "$build/pixmorph" gallery "$out/$mode" "${photos[@]}" --badge media/badge.png --mode "$mode" --json "${brief[@]}" \
    >"$out/$mode.jsonl" 2>"$out/$mode.log" &
  jobs_running+=($!)
  brief=(--brief)
done
status=0
for job in "${jobs_running[@]}"; do wait "$job" || status=$?; done
jobs_running=()

reports=()
for mode in "${modes[@]}"; do reports+=("$out/$mode.jsonl"); done
say "demo: what was done, and how long the methods took"
/usr/bin/env python3 scripts/make_demo_page.py "$out/index.html" "${reports[@]}"
say "demo: built in $((built - begun)) s, shown in $((SECONDS - built)) s"
say "demo: open $out/index.html; the pictures are in $out/<mode>/<photo>/"
if [ "$status" -ne 0 ]; then
  sort -u "$out"/*.log >&2
  exit "$status"
fi
