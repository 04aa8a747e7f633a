#!/usr/bin/env bash
# Tests the Python package against the library of build/release: style, types, tests with their coverage.
set -uo pipefail
cd "$(dirname "$0")/../python"
python=/usr/bin/python3 # Debian's, whose packages are Debian's
status=0
"$python" -m flake8 tarnvelde tests benchmarks setup.py ../examples/*/ ../scripts/*.py ../docs/site/*.py ../packaging/*.py \
    ../tests/package/*.py || status=1
"$python" -m mypy --config-file mypy.ini tarnvelde || status=1
"$python" -m pytest -q --cov="$PWD/tarnvelde" --cov-fail-under=95 "$@" || status=1
exit $status
