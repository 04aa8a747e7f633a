#!/usr/bin/env bash
# Runs an example: scripts/run-example.sh [NAME], NAME being a folder of examples/ (first-storm if none is given).
# Installs what the program is built with, builds it, and the engines that coupled models need, in build/release, runs a
# copy of the example in build/examples/NAME, and shows its report. Results stay there. An example that is a host program
# itself is built against an installed package, and run.
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

plant=no # whether it has the engine of treatment plants
[ "$name" != catchment-plant-river ] || plant=yes
"$root/scripts/install.sh"
[ "$plant" = no ] || "$root/scripts/install.sh" packages-plant.txt
cd "$root"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "Building into build/release, the first time for a minute or two ..."
targets=(tarnvelde tarnvelde_host engine_swmm5ex engine_vorn engine_nested)
begin() { # where there is no build yet: of the program alone, which needs no package of the tests
    [ -f build/release/CMakeCache.txt ] || cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release \
        -DTARNVELDE_BUILD_TESTS=OFF -DTARNVELDE_BUILD_BENCH=OFF -DTARNVELDE_QUICK=ON -DTARNVELDE_WERROR=OFF
}
look_again() { # a build that was begun without SUNDIALS knows no such engine
    [ "$plant" = no ] || cmake build/release
}
[ "$plant" = no ] || targets+=(engine_plant)
if ! { begin && look_again && cmake --build build/release -j "$(nproc)" --target "${targets[@]}"; } >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi

out=build/examples/$name
mkdir -p "$out"
if [ ! -f "$model" ]; then # a host program, which uses the installed package
    "$root/scripts/install.sh" packages-hosts.txt
    cmake --install build/release --prefix "$root/build/examples/prefix" >"$log"
    pc=$(find "$root/build/examples/prefix" -name tarnvelde.pc | head -n 1)
    PKG_CONFIG_PATH=$(dirname "$pc") make -C "examples/$name" OUT="$root/$out"
    exit
fi
cp -R "examples/$name/." "$out"
engines=()
if [ "$name" = nested-town ]; then # whose node holds a project
    engines=(--engines nested)
fi
build/release/tarnvelde run "$out/$name.inp" "${engines[@]}"
echo
cat "$out/$name.rpt"
echo
if grep -q 'Continuity Error.*nan' "$out/$name.rpt"; then
    echo
    echo "A continuity error of nan: nothing came in there, so there is nothing to compare with."
fi
