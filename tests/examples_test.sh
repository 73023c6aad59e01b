#!/usr/bin/env bash
# Runs an example and compares what it prints. Usage: examples_test.sh EXPECTED COMMAND...
set -euo pipefail
expected=$1
shift
printed=$("$@")
diff -u "$expected" - <<<"$printed"
