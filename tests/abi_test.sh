#!/usr/bin/env bash
# Compares a library's public types and functions with the ones kept in cmake/abi. Usage:
# abi_test.sh LIBRARY [--renew]; the library must carry g++'s debugging information. --renew writes
# the kept files anew, for a change that is meant.
set -euo pipefail
library=$1
mode=${2:-}
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
kept=$root/cmake/abi
found=$(mktemp)
trap 'rm -f "$found"' EXIT

# The insides of an instance are no part of the interface: only what the public header declares is.
abidw --headers-dir "$root/include" --drop-private-types --exported-interfaces-only \
    --drop-undefined-syms --no-corpus-path --no-comp-dir-path --no-show-locs \
    --no-write-default-sizes "$library" >"$found"

if [ "$mode" = --renew ]; then
    cp "$found" "$kept/library.abi"
    nm --dynamic --defined-only --with-symbol-versions "$library" | cut -d' ' -f2- |
        LC_ALL=C sort >"$kept/exports.txt"
    exit
fi
abidiff --harmless "$kept/library.abi" "$found"
# An empty description would differ from nothing.
for name in audio_converter_settings bufstream; do
    grep -q "name='$name'" "$found"
done
