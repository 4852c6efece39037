#!/bin/sh
# Compares the dynamic symbols a shared library defines (demangled, names
# only) with the allowed list; prints the difference and fails on any.
# Left out: the linker's own markers, instantiations of the standard library
# that the compiler must export, and AddressSanitizer's marks on globals.
# usage: exports.sh LIBRARY ALLOWED_LIST WORK_DIR
set -eu
library=$1 allowed=$2 work=$3
mkdir -p "$work"
nm -D --defined-only -C "$library" | sed -E 's/^[0-9a-fA-F]* +[A-Za-z] //' |
  grep -v -E '^(_edata|_end|__bss_start|_init|_fini)$|^([^(]* )?std::|^__odr_asan|^__asan' |
  LC_ALL=C sort -u > "$work/exported.txt"
grep -v -E '^(#|$)' "$allowed" | LC_ALL=C sort -u > "$work/allowed.txt"
if ! diff -u "$work/allowed.txt" "$work/exported.txt" > "$work/difference.txt"; then
  echo "exported symbols differ from $allowed (+ exported, not allowed; - allowed, not exported):"
  grep -E '^[-+][^-+]' "$work/difference.txt"
  exit 1
fi
echo "$(wc -l < "$work/exported.txt") exported symbols, all allowed"
