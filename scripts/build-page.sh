#!/usr/bin/env bash
# Builds the page of a run, page/dist/template.html, which the program takes in when it is built after. Quick when
# nothing changed. Debian's npm is installed where there is none.
set -euo pipefail
cd "$(dirname "$0")/../page"
command -v npm >/dev/null || ../scripts/install.sh packages-node.txt

# npm's own record of what it installed is as new as the installation.
if [ ! -f node_modules/.package-lock.json ] || [ package-lock.json -nt node_modules/.package-lock.json ]; then
    npm ci --loglevel=error
    touch node_modules/.package-lock.json
fi
if [ ! -f dist/template.html ] ||
    [ -n "$(find src build.mjs package.json node_modules/.package-lock.json -newer dist/template.html -print -quit)" ]; then
    node build.mjs
fi
