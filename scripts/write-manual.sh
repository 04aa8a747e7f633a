#!/usr/bin/env bash
# Writes the tables of the manual that are made from lists: from src/results/columns.def in docs/results.md and
# docs/host.md, from src/api/variables.def in docs/variables.md, from src/model/warnings.def and plausible.def in
# docs/warnings.md.
# scripts/write-manual.sh [BUILD]: the folder of a finished build, build/release without one. A test compares them.
set -euo pipefail
build=$(realpath "${1:-$(dirname "$0")/../build/release}")
TARNVELDE_WRITE_MANUAL=1 "$build/unit_tests" --gtest_brief=1 --gtest_filter='Manual.*'
