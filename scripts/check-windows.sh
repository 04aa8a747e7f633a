#!/usr/bin/env bash
# Compiles what knows of the operating system for Windows, warnings as errors; nothing is linked or run.
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
printf '%s\n' src/platform/*.cpp host/{console,interrupt}.cpp | xargs -P "$(nproc)" -I{} sh -c '
    x86_64-w64-mingw32-g++ -std=c++20 -O1 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -Isrc -Iinclude \
        -DTARNVELDE_BUILDING -c "$1" -o "$2/$(basename "$1").o"' sh {} "$out"
echo "src/platform, and what of host/ knows of the system, compiles for Windows"
