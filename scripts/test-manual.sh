#!/usr/bin/env bash
# Builds the manual, warnings being errors.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build-manual.sh
