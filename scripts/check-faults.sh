#!/usr/bin/env bash
# What `tarnvelde run` leaves behind when something fails: files that can't grow, full disks, signals, refused memory.
# Many more points than the tests take.
#
#     scripts/check-faults.sh [sizes|room|signals|memory ...]
#
# Takes build/release, or the build that FAULTS_BUILD names; all of it takes some ten minutes.
set -uo pipefail
cd "$(dirname "$0")/.."
build=${FAULTS_BUILD:-build/release}
for file in tarnvelde librefusals.so; do
    [ -e "$build/$file" ] || { echo "$build/$file isn't there: cmake --build --preset release" >&2; exit 2; }
done
declare -A points=([sizes]=200 [room]=100 [signals]=30 [memory]=200)
[ $# -gt 0 ] || set -- sizes room signals memory
failed=0
for fault in "$@"; do
    [ -n "${points[$fault]:-}" ] || { echo "check-faults.sh [sizes|room|signals|memory ...]" >&2; exit 2; }
    /usr/bin/python3 tests/fault/faults.py "$fault" "$build/tarnvelde" --refusals "$build/librefusals.so" \
        --points "${points[$fault]}"
    status=$?
    [ "$status" -eq 0 ] || [ "$status" -eq 77 ] || failed=1
done
exit "$failed"
