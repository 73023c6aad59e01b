#!/usr/bin/env bash
# Compares a library's exported symbols and its public types and functions with the ones kept in
# this folder. Usage: abi_test.sh LIBRARY [--renew]; the library must carry g++'s debugging
# information. --renew writes the kept files anew, for a change that is meant.
set -euo pipefail
library=$1
mode=${2:-}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

nm --dynamic --defined-only --with-symbol-versions "$library" | cut -d' ' -f2- |
    LC_ALL=C sort >"$work/exports.txt"
# The insides of an instance are no part of the interface: only what the public header declares is.
abidw --headers-dir "$here/../../include" --drop-private-types --exported-interfaces-only \
    --drop-undefined-syms --no-corpus-path --no-comp-dir-path --no-show-locs \
    --no-write-default-sizes "$library" >"$work/library.abi"

if [ "$mode" = --renew ]; then
    cp "$work/exports.txt" "$work/library.abi" "$here"
    exit
fi
diff -u "$here/exports.txt" "$work/exports.txt"
abidiff --harmless "$here/library.abi" "$work/library.abi"
# An empty description would differ from nothing.
for name in audio_converter_settings bufstream; do
    grep -q "name='$name'" "$work/library.abi"
done
