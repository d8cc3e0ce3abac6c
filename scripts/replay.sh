#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Shows that the library behaves alike wherever it is built: tests/replay, by every compiler of Debian 12 at every level
# of optimisation, for every machine that qemu runs, prints the same number. Prints a table of what was run.
#
# Usage: scripts/replay.sh [--write] [--only PATTERN]
#   --write         also put the table into docs/install.md
#   --only PATTERN  builds whose name matches, as in 'x86_64.clang-16*' or '*-O0'
# What was built is in build/replay. Exit status: 0, 1 when two builds differ or one fails, 77 when packages cannot be
# had.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/release/machines.sh

write=false only='*'
while [ $# -gt 0 ]; do
  case $1 in
    --write) write=true ;;
    --only) only=${2:?--only takes a pattern}; shift ;;
    *) echo "replay.sh: unknown argument '$1'" >&2; exit 2 ;;
  esac
  shift
done
scripts/bootstrap.sh cross replay || { echo "the compilers cannot be installed" && exit 77; }

out=build/replay
mkdir -p "$out"
tests/replay/inputs.py >"$out/list"
mapfile -t sources < <(scripts/files.sh 'sigkit/*.cpp' platform/annexk.cpp 'tests/replay/*.cpp' \
  src/upgrade_sigkit_sdk_callback/memory_and_strings.cpp)
flags=(-std=c++20 -fno-exceptions -fno-rtti -fno-threadsafe-statics -D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64 -I. -Isigkit
  -Iplatform -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Werror)
musl=/usr/lib/$(uname -m)-linux-musl/musl-gcc.specs
# Of C++ there are headers alone: musl-tools has no library of it, and none is needed. glibc's test of its own version
# is asked for by them.
musl_flags=(-specs "$musl" -idirafter /usr/include/c++/12 "-idirafter/usr/include/$(uname -m)-linux-gnu/c++/12"
  '-D__GLIBC_PREREQ(major,minor)=0')

# build NAME CXX CC OPTION...: the program, linked as C.
build() {
  local directory=$out/$1 cxx=$2 cc=$3
  shift 3
  rm -rf "$directory"
  mkdir -p "$directory"
  # shellcheck disable=SC2016,SC2086 # $ is the inner shell's; a launcher may be none
  printf '%s\n' "${sources[@]}" |
    xargs -P "$(nproc)" -I {} sh -c 'output=$1/$(echo "$2" | tr / _).o && shift 2 && exec "$@" -o "$output"' sh \
      "$directory" {} ${CMAKE_CXX_COMPILER_LAUNCHER:-} "$cxx" "${flags[@]}" "$@" -c {} || return 1
  local -a how=("$@")
  [ "$cc" != musl-gcc ] || how=()
  [[ $cc != clang* ]] || how+=("-fuse-ld=lld${cc#clang}")
  "$cc" "${how[@]}" "$directory"/*.o -o "$directory/replay"
}

# run NAME COMMAND...: what the program says, which must be what the first one said.
first=
run() {
  local name=$1 TIMEFORMAT=%U
  shift
  { time "$@" "$out/$name/replay" <"$out/list" >"$out/$name/said" 2>&3; } 2>"$out/$name/seconds" 3>&2 ||
    { echo "$name: it failed" >&2 && exit 1; }
  seconds=$(<"$out/$name/seconds")
  [ -n "$first" ] || first=$name
  if ! cmp -s "$out/$first/said" "$out/$name/said"; then
    echo "$name says otherwise than $first: $(cat "$out/$name/said"), not $(cat "$out/$first/said")" >&2
    exit 1
  fi
}

# version COMPILER: its name and version, as it states them.
version() { "$1" --version | sed -n '1{s/(Debian[^)]*) //;s/Debian //;s/^\(.*[0-9]\.[0-9.]*\).*/\1/;p}'; }

rows=()
# try MACHINE COMPILER CC OPTIONS...: a row of the table; each of the options, words in one text, is a build. Words
# behind -- are what runs the program.
try() {
  local machine=$1 cxx=$2 cc=$3 options done=() longest=0
  shift 3
  local -a sets=() runner=()
  while [ $# -gt 0 ] && [ "$1" != -- ]; do sets+=("$1") && shift; done
  [ $# -eq 0 ] || { shift && runner=("$@"); }
  for options in "${sets[@]}"; do
    local name="$machine.$cc${options// /}"
    # shellcheck disable=SC2053 # a pattern
    [[ $name == $only ]] || continue
    local -a extra=()
    [ "$cc" != musl-gcc ] || extra=("${musl_flags[@]}")
    # shellcheck disable=SC2086 # words
    build "$name" "$cxx" "$cc" "${extra[@]}" $options || { echo "$name: it does not build" >&2 && exit 1; }
    run "$name" "${runner[@]}"
    longest=$(printf '%s\n' "$longest" "$seconds" | sort -n | tail -n 1)
    done+=("\`$options\`")
    echo "$name: $(cut -d ' ' -f 1 "$out/$name/said"), $seconds s" >&2
  done
  [ ${#done[@]} -gt 0 ] || return 0
  local with=
  [ "$cc" != musl-gcc ] || with=", musl $(dpkg-query -Wf '${Version}' musl-tools)"
  rows+=("| $machine | $(version "$cxx")$with | $(IFS=, && echo "${done[*]}") | ${runner[0]:-itself} | $longest |")
}

here=$(uname -m)
levels=(-O0 -O1 -O2 -O3 -Os '-O2 -flto')
for number in 11 12; do try "$here" "g++-$number" "gcc-$number" "${levels[@]}"; done
for number in 14 16; do try "$here" "clang++-$number" "clang-$number" "${levels[@]}"; done
try "$here" g++-12 musl-gcc -O2
for name in i386 arm aarch64 riscv64 s390x; do
  machine_names "$name"
  try "$name" "$compiler-g++" "$compiler-gcc" -O0 -O2 -- "qemu-$name" -L "/usr/$compiler"
done
[ ${#rows[@]} -gt 0 ] || { echo "replay.sh: no build matches '$only'" >&2 && exit 2; }

table=$out/table.md
{
  echo "| machine | compiler | options | run by | processor seconds at most |"
  echo "|---|---|---|---|---|"
  printf '%s\n' "${rows[@]}"
  echo
  # shellcheck disable=SC2016 # quotes of Markdown
  sed 's/^\([0-9a-f]*\)  \([0-9]* inputs\), \(.*\)$/Each of these builds printed `\1`: \2, \3./' "$out/$first/said"
} | tee "$table"
if $write; then
  scripts/write_table.py docs/install.md replay <"$table"
fi
echo "$(find "$out" -name said -newer "$out/list" | wc -l) builds printed $(cat "$out/$first/said")"
