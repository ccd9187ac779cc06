#!/usr/bin/env bash
# Reads every source above platform/ as the target's compiler would: Objective-C++ with blocks, thread-safety analysis
# on. Nothing is built. Prints one line a file that fails, with the compiler's words, and exits 1.
set -uo pipefail
cd "$(dirname "$0")/.."

flags=(-x objective-c++ -std=c++20 -fblocks -fsyntax-only -Wall -Wextra -Wthread-safety -Wthread-safety-beta -Werror
       -Wno-multichar -Wno-deprecated-declarations -iquote . -isystem platform/include -Wno-unknown-warning-option
       -Wno-objc-root-class -Wno-deprecated-objc-isa-usage)
export flags_text="${flags[*]}"

mapfile -t folders < <(awk '!/^#/ && NF == 2 && $1 > 0 {print $2}' cmake/floors.txt | sort -u)
mapfile -t sources < <(for f in "${folders[@]}"; do [ -d "$f" ] && find "$f" -name '*.cpp'; done | sort -u)
echo "${#sources[@]} sources"
[ ${#sources[@]} -eq 0 ] && exit 0
printf '%s\0' "${sources[@]}" |
    xargs -0 -n 1 -P "$(nproc)" bash -c 'clang++ $flags_text "$1" || { echo "clang pass: $1 failed" >&2; exit 1; }' _
