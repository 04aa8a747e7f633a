#!/usr/bin/env bash
# Runs an example: scripts/run-example.sh [NAME], NAME being a folder of examples/ (first-storm if none is given).
# Installs what is missing, builds the program and the engines that coupled models need, runs a copy of the example in
# build/examples/NAME, and shows its report. Results stay there.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
name=${1:-first-storm}
model=$root/examples/$name/$name.inp
if [ ! -f "$model" ]; then
    echo "There is no example $name. Examples:" >&2
    for folder in "$root"/examples/*/; do
        [ ! -f "$folder/$(basename "$folder").inp" ] || echo "  $(basename "$folder")" >&2
    done
    exit 2
fi

"$root/scripts/install.sh"
cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "Building into build/release ..."
if ! { cmake --preset release && cmake --build --preset release --target tarnvelde_host engine_swmm5ex engine_vorn; } >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi

out=build/examples/$name
mkdir -p "$out"
cp -R "examples/$name/." "$out"
build/release/tarnvelde run "$out/$name.inp"
echo
cat "$out/$name.rpt"
echo
