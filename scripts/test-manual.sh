#!/usr/bin/env bash
# Builds the manual, warnings being errors, asks its search questions in a browser, and runs what its pages show: every
# block of code and every command that isn't marked as one that can't be run. The counts stand in the last lines.
set -uo pipefail
cd "$(dirname "$0")/.."
scripts/install.sh packages-manual.txt packages-tests.txt packages-python.txt packages-page.txt || exit 1
log=$(mktemp)
trap 'rm -f "$log"' EXIT
passed=0
failed=0
if scripts/build-manual.sh; then passed=1; else failed=1; fi

/usr/bin/python3 docs/site/testblocks.py >"$log" 2>&1 || failed=$((failed + 1))
cat "$log"
passed=$((passed + $(sed -n 's/^blocks of the manual: \([0-9]*\) run.*/\1/p' "$log")))

scripts/build-page.sh && (cd page && node --test tests/manual/*.test.mjs) >"$log" 2>&1 || failed=$((failed + 1))
cat "$log"
passed=$((passed + $(sed -n 's/^[^a-z]*pass \([0-9][0-9]*\)$/\1/p' "$log")))

echo "pass $passed"
echo "fail $failed"
[ "$failed" -eq 0 ]
