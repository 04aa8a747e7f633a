#!/usr/bin/env bash
# Installs the Debian packages of scripts/packages.txt that are missing, which the program is built with; quick when none
# is. Works as root or with sudo. With the names of other lists beside it, as packages-tests.txt, those of these too.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

missing=()
while read -r package; do
    [ -n "$package" ] || continue
    state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done < <(cd "$here" && cat packages.txt "$@")
[ ${#missing[@]} -gt 0 ] || exit 0

run=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Missing packages: ${missing[*]}. Install them as root." >&2; exit 1; }
    run=(sudo)
fi
install_missing() {
    "${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o Acquire::Retries=3 -o DPkg::Lock::Timeout=300 \
        install -y --no-install-recommends "${missing[@]}"
}
echo "Installing: ${missing[*]}"
# The lists of packages may be absent or old: then the first try fails and a fresh list helps.
if ! install_missing >/dev/null 2>&1; then
    "${run[@]}" apt-get -o Acquire::Retries=3 update
    install_missing
fi
