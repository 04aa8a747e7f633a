#!/usr/bin/env bash
# Draws the pictures of docs/plots.md into docs/drawings, by its own commands: scripts/draw-plots.sh [PROGRAM].
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
program=$(realpath "${1:-build/release/tarnvelde}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp examples/storm-tank/storm-tank.inp examples/first-storm/first-storm.inp "$work"
cd "$work"
for model in *.inp; do
    "$program" run "$model" --quiet
done
sed -n '/^Date,Flow/,/^```/p' "$root/docs/plots.md" | grep -v '^```' > gauge.csv
grep '^tarnvelde plot [a-z-]*\.bin' "$root/docs/plots.md" | while read -r command; do
    eval "\"$program\" ${command#tarnvelde }"
done
for picture in axes rain mean curve section; do
    cp "$picture.svg" "$root/docs/drawings/plot-$picture.svg"
done
