#!/usr/bin/env bash
# Tests the page of a run: its pure functions in node, the page itself in Debian's chromium, which is installed when it
# is missing. With arguments, the files of page/tests/ that they name.
set -euo pipefail
cd "$(dirname "$0")"
./install.sh packages-page.txt
./build-page.sh
cd ../page
[ $# -gt 0 ] || set -- tests/*.test.mjs
node --test "$@"
