#!/usr/bin/env bash
# Builds packages of the commit that is checked out, into build/packages:
#
#     scripts/build-packages.sh [deb|tar|wheel ...]
#
#     deb      Debian packages: libtarnvelde2, libtarnvelde-dev, tarnvelde, python3-tarnvelde, tarnvelde-doc
#     tar      tarnvelde-VERSION-linux-x86_64.tar.gz, which runs where it is unpacked
#     wheel    the Python package with the library and the engines of that archive inside
#
# Without words all of them. What isn't committed isn't in them. The manual as pages for a browser goes in if
# build/manual/html is there. Same commit, same bytes, if compilers and libraries are the same. docs/packages.md tells the
# rest.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
out=$root/build/packages
work=$out/trees
python=/usr/bin/python3

kinds=("$@")
[ ${#kinds[@]} -gt 0 ] || kinds=(deb tar wheel)
for kind in "${kinds[@]}"; do
    [[ $kind =~ ^(deb|tar|wheel)$ ]] || { echo "build-packages.sh [deb|tar|wheel ...]" >&2; exit 2; }
done
wants() { [[ " ${kinds[*]} " == *" $1 "* ]]; }

scripts/install.sh packages-packaging.txt
scripts/build-page.sh
version=$(sed -n 's/^project(tarnvelde VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)

# lay_out FOLDER: the sources of the commit, with the page of a run and the manual in HTML, which are made of them.
lay_out() {
    rm -rf "$1"
    mkdir -p "$1/page/dist"
    if [ -e .git ]; then
        git archive HEAD | tar -x -C "$1"
        git diff-index --quiet HEAD -- || echo "What isn't committed is left out." >&2
    else
        tar -c --exclude=./build --exclude=./page/node_modules . | tar -x -C "$1"
    fi
    cp page/dist/template.html "$1/page/dist/"
    [ ! -d build/manual/html ] || cp -R build/manual/html "$1/manual-html"
}

# The date of the commit is that of all files.
read_date() { sed -n 's/^[0-9a-f]* \([0-9]*\)$/\1/p' "$1/cmake/commit.txt"; }

build_deb() {
    local tree=$work/deb/tarnvelde-$version
    rm -rf "$work/deb"
    lay_out "$tree"
    cp -R "$tree/packaging/debian" "$tree/debian"
    SOURCE_DATE_EPOCH=$(read_date "$tree")
    export SOURCE_DATE_EPOCH
    # debhelper gives the build a home of its own, where no cache of the compiler would be found again.
    [ -z "${HOME:-}" ] || export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache}
    (cd "$tree" && DEB_BUILD_OPTIONS="parallel=$(nproc) noautodbgsym" dpkg-buildpackage -b -us -uc) >"$work/deb.log" 2>&1 ||
        { tail -n 60 "$work/deb.log" >&2; return 1; }
    rm -f "$out"/*.deb "$out"/*.changes "$out"/*.buildinfo
    cp "$work"/deb/*.{deb,changes,buildinfo} "$out/"
}

# The library and the program that run elsewhere: SQLite and the C++ runtime are inside.
build_standalone() {
    local tree=$work/tar/source build=$work/tar/source/build/release prefix=$work/tar/tarnvelde-$version-linux-x86_64
    rm -rf "$work/tar"
    lay_out "$tree"
    SOURCE_DATE_EPOCH=$(read_date "$tree")
    export SOURCE_DATE_EPOCH
    { cmake -S "$tree" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTARNVELDE_STANDALONE=ON \
        -DTARNVELDE_BUILD_TESTS=OFF -DTARNVELDE_BUILD_BENCH=OFF -DCMAKE_INSTALL_LIBDIR=lib &&
        cmake --build "$build" -j "$(nproc)" && cmake --install "$build" --strip --prefix "$prefix"; } \
        >"$work/tar.log" 2>&1 || { tail -n 60 "$work/tar.log" >&2; return 1; }
}

build_tar() {
    local tree=$work/tar/source prefix=$work/tar/tarnvelde-$version-linux-x86_64 share name
    share=$prefix/share/doc/tarnvelde
    "$python" "$tree/packaging/write-words.py" "$prefix/bin/tarnvelde" "$work/tar/words" "$prefix/bin/tarnvelde-plant"
    for name in tarnvelde tarnvelde-plant; do
        install -D -m 644 "$work/tar/words/$name.1" "$prefix/share/man/man1/$name.1"
        install -D -m 644 "$work/tar/words/$name.bash" "$prefix/share/bash-completion/completions/$name"
        install -D -m 644 "$work/tar/words/_$name" "$prefix/share/zsh/site-functions/_$name"
        install -D -m 644 "$work/tar/words/$name.fish" "$prefix/share/fish/vendor_completions.d/$name.fish"
    done
    mkdir -p "$share/python" "$share/engines"
    cp -R "$tree"/{README.md,CHANGELOG.md,SECURITY.md,CITATION.cff,docs,examples} "$tree/packaging/third-party.txt" \
        "$share"
    rm -r "$share/docs/site" # what pages for a browser are made with
    cp -R "$tree"/engines/{trial,nested,plant} "$share/engines/"
    cp -R "$tree"/python/{README.md,notebooks} "$share/python/"
    [ ! -d "$tree/manual-html" ] || cp -R "$tree/manual-html" "$share/html"
    chmod -R u=rwX,go=rX "$prefix"
    tar -c --sort=name --mtime="@$(read_date "$tree")" --owner=0 --group=0 --numeric-owner --format=gnu \
        -C "$work/tar" "$(basename "$prefix")" | gzip -9n >"$prefix.tar.gz"
    mv "$prefix.tar.gz" "$out/"
}

build_wheel() {
    local tree=$work/tar/source prefix=$work/tar/tarnvelde-$version-linux-x86_64
    rm -f "$out"/*-manylinux*.whl
    SOURCE_DATE_EPOCH=$(read_date "$tree") "$python" "$tree/packaging/make-wheel.py" \
        --library "$prefix/lib/libtarnvelde.so.$version" --engines "$prefix/lib/tarnvelde/engines" --output "$out" >/dev/null
}

mkdir -p "$work"
if wants deb; then
    build_deb
fi
if wants tar || wants wheel; then
    build_standalone
fi
if wants tar; then
    build_tar
fi
if wants wheel; then
    build_wheel
fi
ls "$out" | grep -v '^work$' | sed 's|^|build/packages/|'
