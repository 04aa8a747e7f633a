#!/usr/bin/env bash
# Builds the manual as a site: build/manual/html, whose index.html any browser opens without a network. Warnings are
# errors, and each link within the manual must lead to a page and a place that are there.
#
#     scripts/build-manual.sh [--links]
#
# --links also asks the network whether links to other sites lead anywhere. Debian's packages that are missing
# are installed. Takes build/release, for the pictures of results. Each build is a whole one, since a page that isn't
# read again has no warnings.
set -euo pipefail
cd "$(dirname "$0")/.."
python=/usr/bin/python3 # Debian's, whose packages are Debian's
links=
for word in "$@"; do
    case $word in
        --links) links=1 ;;
        *) echo "build-manual.sh [--links]" >&2; exit 2 ;;
    esac
done
[ -x build/release/tarnvelde ] || { echo "build/release/tarnvelde isn't there: cmake --build --preset release" >&2; exit 2; }
scripts/install.sh packages-manual.txt
mkdir -p build/manual/source
"$python" docs/site/stage.py build/manual/source
sphinx() { # BUILDER FOLDER
    "$python" -m sphinx -W --keep-going -q -E -a -j "$(nproc)" -b "$1" -c docs/site -d build/manual/doctrees \
        build/manual/source "build/manual/$2"
}
sphinx html html
"$python" docs/site/checklinks.py build/manual/html
[ -z "$links" ] || sphinx linkcheck links
echo "build/manual/html/index.html"
