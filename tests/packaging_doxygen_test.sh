#!/usr/bin/env bash
# Builds the header's documentation; any warning is a failure. Usage: packaging_doxygen_test.sh
# SOURCE_DIR OUTPUT_DIR
set -euo pipefail
source_dir=$1
output_dir=$2
rm -rf "$output_dir"
mkdir -p "$output_dir"
cd "$source_dir"
{ cat docs/Doxyfile && echo "OUTPUT_DIRECTORY = \"$output_dir\""; } | doxygen - >/dev/null
# Every function has its place in the pages.
mapfile -t functions < <(grep -o 'audioConverter[A-Za-z]*;' cmake/exports.map | tr -d ';')
[ ${#functions[@]} -gt 0 ]
for function in "${functions[@]}"; do
    grep -rqF "$function" "$output_dir/html" || { echo "$function is not documented" && exit 1; }
done
