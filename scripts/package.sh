#!/usr/bin/env bash
# Builds the packages into out/packages: a .deb (library, command, manual, completions, documentation), a .tgz (the
# library ready to drop in, documentation, checksums) and a SHA-256 sum beside each. Usage: scripts/package.sh
set -euo pipefail
cd "$(dirname "$0")/.."

case "${1:-}" in
  "") ;;
  -h | --help) sed -n '2,3s/^# //p' "$0"; exit 0 ;;
  *) printf 'package.sh: there is no argument %s\n' "$1" >&2; exit 2 ;;
esac

./scripts/setup.sh
packaging=(scdoc dpkg-dev file)
as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }
needed=()
for name in "${packaging[@]}"; do
  dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q '^install ok installed' || needed+=("$name")
done
if [ "${#needed[@]}" -gt 0 ]; then
  printf 'package.sh: installing %s\n' "${needed[*]}"
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${needed[@]}" >/dev/null ||
    { printf "package.sh: can't install %s; check the network\n" "${needed[*]}" >&2; exit 1; }
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
quietly() {
  "$@" >"$log" 2>&1 || { tail -n 40 "$log"; printf 'package.sh: failed: %s\n' "$*" >&2; exit 1; }
}
quietly cmake --preset release
quietly cmake --build build/release --target pixmorph_plugin pixmorph_tool pixmorph_completions pixmorph_manual

# Packages are made aside, so that out/packages never holds half of one.
staging=$(mktemp -d)
trap 'rm -rf "$log" "$staging"' EXIT
quietly cpack --config build/release/CPackConfig.cmake -B "$staging"
rm -rf out/packages
mkdir -p out/packages
mv "$staging"/pixmorph[-_]*.* out/packages/
(cd out/packages && sha256sum --check --quiet ./*.sha256 && ls -l)
