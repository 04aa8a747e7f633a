#!/usr/bin/env bash
# Puts the tables of the models into docs/plant.md, as tarnvelde-plant of build/release writes them.
set -euo pipefail
cd "$(dirname "$0")/.."
program=build/release/tarnvelde-plant
page=docs/plant.md
whole=$(mktemp)
trap 'rm -f "$whole"' EXIT
{
    sed '/^## ASM1$/,$d' "$page"
    printf '## ASM1\n\n'
    "$program" matrix asm1 --markdown
    printf '\n## ASM2d\n\n'
    "$program" matrix asm2d --markdown
} >"$whole"
cat "$whole" >"$page"
