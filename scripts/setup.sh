#!/usr/bin/env bash
# Installs what building, testing and the demo need on a Debian 12 amd64 machine, and nothing a second time.
# Safe to run again and again; once everything is there it works offline and touches nothing.
set -euo pipefail
cd "$(dirname "$0")/.."

deps_dir=build/deps

tools=(git cmake ninja-build g++ g++-multilib pkg-config python3 binutils libcli11-dev nlohmann-json3-dev
       googletest xvfb xauth pax-utils)
runtime_i386=(libcairo2:i386 libgtk2.0-0:i386)
# Unpacked beside the build, not installed: their packages would drag in a second C library's headers.
unpacked_i386=(libpng-dev libjpeg62-turbo-dev zlib1g-dev)

say() { printf 'setup: %s\n' "$*"; }
die() { printf 'setup: error: %s\n' "$*" >&2; exit 1; }

is_installed() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q '^install ok installed'; }

missing() {
  local name
  for name in "$@"; do is_installed "$name" || printf '%s\n' "$name"; done
}

unpacked_ready() {
  [ -f "$deps_dir/usr/lib/i386-linux-gnu/libpng16.a" ] && [ -f "$deps_dir/usr/lib/i386-linux-gnu/libjpeg.a" ] &&
    [ -f "$deps_dir/usr/lib/i386-linux-gnu/libz.a" ]
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"
  elif command -v sudo >/dev/null; then sudo "$@"
  else die "'$*' needs root: run this once as root, or install sudo"
  fi
}

refreshed=no
refresh_lists() {
  [ "$refreshed" = yes ] && return
  refreshed=yes
  dpkg --print-foreign-architectures | grep -qx i386 || as_root dpkg --add-architecture i386
  say "refreshing the package lists"
  # One stale index (seen with the security suite's i386 part) makes update fail while the rest is fine.
  as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq || say "some package lists could not be refreshed; going on"
}

# A stale i386 security index leaves amd64 packages without i386 partner; the release suite then has both.
install() {
  local suite
  suite=$(. /etc/os-release && printf '%s' "$VERSION_CODENAME")
  local apt=(env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends)
  as_root "${apt[@]}" "$@" >/dev/null ||
    { say "plain installation failed, trying the release suite"; as_root "${apt[@]}" -t "$suite" --allow-downgrades "$@" >/dev/null; }
}

unpack() {
  local target staging suite
  target=$(pwd)/$deps_dir
  suite=$(. /etc/os-release && printf '%s' "$VERSION_CODENAME")
  staging=$(mktemp -d)
  chmod 755 "$staging"
  (cd "$staging" && for name in "${unpacked_i386[@]}"; do
     apt-get download -qq "$name:i386" 2>/dev/null || apt-get download -qq -t "$suite" "$name:i386" 2>/dev/null ||
       die "can't download $name:i386; check the network and run again"
   done
   for file in *.deb; do dpkg -x "$file" "$staging/root"; done)
  mkdir -p "$target"
  cp -a "$staging/root/." "$target/"
  rm -rf "$staging"
}

# Some kernels (certain virtual machines) refuse 32-bit programs. An emulator registered with the kernel then runs
# them as if nothing had happened, only slower and without AVX-512.
probe=$deps_dir/probe32
runs_32bit() {
  [ -x "$probe" ] || { mkdir -p "$deps_dir"; printf 'int main() { return 0; }\n' | g++ -m32 -x c++ -o "$probe" - ||
    die "g++ -m32 does not work; reinstall g++-multilib"; }
  "$probe" 2>/dev/null
}

register_emulator() {
  local registry=/proc/sys/fs/binfmt_misc
  if ! is_installed qemu-user; then
    refresh_lists
    say "this kernel refuses 32-bit programs; installing an emulator (qemu-user)"
    install qemu-user || die "can't install qemu-user, without which this kernel can't run 32-bit programs"
  fi
  [ -e $registry/register ] || as_root mount -t binfmt_misc binfmt_misc $registry ||
    die "can't mount binfmt_misc, through which the kernel would start the emulator; run this on another machine"
  # ELF, 32-bit, little-endian, executable or position-independent, machine 3 (i386).
  local magic='\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x03\x00'
  local mask='\xff\xff\xff\xff\xff\xfe\xfe\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
  # shellcheck disable=SC2016
  [ -e $registry/pixmorph-i386 ] || as_root sh -c 'printf "%s" "$1" > "$2"' sh ":pixmorph-i386:M::$magic:$mask:/usr/bin/qemu-i386:PF" $registry/register ||
    die "the kernel did not take the emulator for 32-bit programs"
  say "32-bit programs run under qemu-i386 on this machine"
}

main() {
  command -v apt-get >/dev/null || die "this script knows Debian 12 only; see docs/building.md for what to install by hand"
  local needed
  mapfile -t needed < <(missing "${tools[@]}" "${runtime_i386[@]}")
  if [ "${#needed[@]}" -gt 0 ]; then
    refresh_lists
    say "installing ${needed[*]}"
    install "${needed[@]}" || die "can't install: ${needed[*]}. Check the network and 'apt-get install ${needed[*]}' by hand"
  fi
  if ! unpacked_ready; then
    refresh_lists
    say "unpacking ${unpacked_i386[*]} (i386) into $deps_dir"
    unpack
  fi
  mapfile -t needed < <(missing "${tools[@]}" "${runtime_i386[@]}")
  [ "${#needed[@]}" -eq 0 ] || die "still missing after installation: ${needed[*]}"
  unpacked_ready || die "the i386 libraries did not arrive in $deps_dir; remove that folder and run again"
  runs_32bit || register_emulator
  runs_32bit || die "32-bit programs do not run here, not even under an emulator"
}

main "$@"
