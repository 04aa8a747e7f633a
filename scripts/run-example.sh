#!/usr/bin/env bash
# Runs an example: scripts/run-example.sh [NAME], NAME being a folder of examples/ (first-storm if none is given).
# Installs what is missing, builds the program, runs it, and shows its report; an example that is a host program is built
# against an installed package and run itself. Results stay in build/examples/NAME.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
name=${1:-first-storm}
model=$root/examples/$name/$name.inp
if [ ! -f "$model" ] && [ ! -f "$root/examples/$name/Makefile" ]; then
    echo "There is no example $name. Examples:" >&2
    for folder in "$root"/examples/*/; do
        if [ -f "$folder/$(basename "$folder").inp" ] || [ -f "$folder/Makefile" ]; then
            echo "  $(basename "$folder")" >&2
        fi
    done
    exit 2
fi

"$root/scripts/install.sh"
cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "Building into build/release ..."
if ! { cmake --preset release && cmake --build --preset release --target tarnvelde tarnvelde_host; } >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi

out=build/examples/$name
mkdir -p "$out"
if [ ! -f "$model" ]; then # a host program, which uses the installed package
    cmake --install build/release --prefix "$root/build/examples/prefix" >"$log"
    pc=$(find "$root/build/examples/prefix" -name tarnvelde.pc | head -n 1)
    PKG_CONFIG_PATH=$(dirname "$pc") make -C "examples/$name" OUT="$root/$out"
    exit
fi
build/release/tarnvelde run "examples/$name/$name.inp" --report "$out/$name.rpt" --results "$out/$name.bin"
echo
cat "$out/$name.rpt"
echo
