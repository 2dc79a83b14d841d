#!/usr/bin/env bash
# Usage: check_library.sh LIBRARY VERSION_SCRIPT
# Checks the built library as a file: what it exports, needs and promises the loader.
set -euo pipefail
export LC_ALL=C

library=$1
version_script=$2
faults=0

fault() { printf 'fault: %s\n' "$*"; faults=$((faults + 1)); }
expect() { grep -Eq -- "$2" <<<"$3" || fault "$1"; }
refuse() { if grep -E -- "$2" <<<"$3"; then fault "$1"; fi; }

header=$(readelf -hW "$library")
dynamic=$(readelf -dW "$library")
segments=$(readelf -lW "$library")
sections=$(readelf -SW "$library")
imports=$(nm -D --undefined-only "$library" | awk '{print $NF}')

check_kind() {
  expect "not an ELF32 file" 'Class: +ELF32' "$header"
  expect "not for i386" 'Machine: +Intel 80386' "$header"
  expect "not a shared library" 'Type: +DYN' "$header"
}

check_exports() {
  local wanted exported
  wanted=$(sed -n '/global:/,/local:/s/^ *\([A-Za-z_]*\);.*/\1/p' "$version_script" | sort)
  exported=$(nm -D --defined-only "$library" | awk '{print $NF}' | sed 's/@.*//' | sort)
  [ "$wanted" = "$exported" ] || { diff <(echo "$wanted") <(echo "$exported") || true; fault "exports differ"; }
  [ "$(wc -l <<<"$exported")" -eq 17 ] || fault "not 17 exports"
  [ "$(nm -D --defined-only "$library" | grep -c ' [BD] _')" -eq 16 ] || fault "not 16 exported pointers"
  nm -D --defined-only "$library" | grep -q ' T REALPluginMain$' || fault "no entry"
}

check_needed() {
  local name
  for name in $(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic"); do
    case $name in
      libc.so.6 | libm.so.6 | libdl.so.2 | librt.so.1 | libgcc_s.so.1 | libstdc++.so.6) ;;
      *) fault "needs $name" ;;
    esac
  done
  # Shared, so that an exception of the runtime's is recognised here.
  expect "does not share libgcc_s" 'NEEDED.*libgcc_s\.so\.1' "$dynamic"
  expect "a copy of the type it catches" '^_ZTISt9bad_alloc@' "$imports"
  refuse "a copy of the type it catches" '^_ZTV' "$imports"
  refuse "more of the C++ library than catching needs" '^(_Zn|_Zd|_ZNK?St|__cxa_guard|__cxa_throw|__cxa_allocate)' "$imports"
}

# The newest symbol version of each family that systems of the time have.
check_versions() {
  local version family newest
  for version in $(sed -n 's/.*Name: \([A-Z]*_[0-9.]*\) .*/\1/p' <<<"$(readelf -VW "$library")" | sort -u); do
    family=${version%%_*}
    case $family in
      GLIBC) newest=2.11 ;;
      GCC) newest=3.3 ;;
      CXXABI) newest=1.3 ;;
      GLIBCXX) newest=3.4 ;;
      *) fault "unknown symbol version $version"; continue ;;
    esac
    [ "$(printf '%s\n' "$newest" "${version#*_}" | sort -V | tail -1)" = "$newest" ] || fault "needs $version"
  done
}

check_loading() {
  expect "no RELRO" 'GNU_RELRO' "$segments"
  expect "not bound at load" 'BIND_NOW|Flags:.*NOW' "$dynamic"
  expect "no stack segment" 'GNU_STACK' "$segments"
  refuse "executable stack" 'GNU_STACK.*RWE' "$segments"
  refuse "text relocations" 'TEXTREL' "$dynamic"
  refuse "a search path" 'RPATH|RUNPATH' "$dynamic"
  expect "no SysV hash table" '\(HASH\)' "$dynamic"
  expect "no GNU hash table" '\(GNU_HASH\)' "$dynamic"
  # One entry is the compiler's own frame_dummy (and __do_global_dtors_aux on the other side).
  refuse "static initialisers" '\((INIT|FINI)_ARRAYSZ\) +([5-9]|[0-9]{2,}) ' "$dynamic"
  refuse "static initialisers" ' \.[cd]tors ' "$sections"
  refuse "static destructors" '^(__cxa_atexit|atexit)@' "$imports"
}

check_contents() {
  refuse "reads the environment" '^_*(secure_)?getenv|environ' "$imports"
  grep -aqF '$$ Plugin version: 15.1 (2015) $$' "$library" || fault "no version stamp"
}

check_kind
check_exports
check_needed
check_versions
check_loading
check_contents
[ "$faults" -eq 0 ] && echo "library file as it should be"
