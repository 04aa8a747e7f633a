#!/usr/bin/env bash
# Builds the packages and tests them from outside: lintian, Debian packages in a clean Debian 12, the archive in one that
# has no SQLite, the wheel in an environment of Python. Works as root, takes some fifteen minutes, and five when roots and
# objects are there from an earlier time. The last line counts the tests.
#
#     scripts/test-packages.sh [--built]      with --built those that are in build/packages already
#
# Roots are unpacked in build/roots from a tar that stays there; remove the folder to begin anew.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$PWD
packages=$root/build/packages
roots=$root/build/roots
base=$roots/bookworm.tar
log=$roots/log
passed=0
failed=0
[ "$(id -u)" -eq 0 ] || { echo "test-packages.sh works as root" >&2; exit 2; }
mkdir -p "$roots/archives"

# check TEXT COMMAND...: runs a test, says how it went, and shows what it printed if it failed.
check() {
    local text=$1
    shift
    if "$@" >"$log" 2>&1; then
        echo "passed: $text"
        passed=$((passed + 1))
    else
        echo "FAILED: $text"
        tail -n 30 "$log" | sed 's/^/    /'
        failed=$((failed + 1))
        return 1
    fi
}
end() {
    echo "$passed passed, $failed failed"
    [ "$failed" -eq 0 ]
    exit
}

# in_root NAME COMMANDS: runs a shell in a root. What is mounted there belongs to a namespace of its own and ends with it,
# and /dev is a new one in memory: nothing of this machine can be reached by what clears up.
in_root() {
    # shellcheck disable=SC2016
    unshare --mount --pid --fork --kill-child --propagation private sh -euc '
        mount -t proc proc "$0/proc"
        mount -t tmpfs -o mode=755 dev "$0/dev"
        mknod -m 666 "$0/dev/null" c 1 3
        mknod -m 666 "$0/dev/zero" c 1 5
        mknod -m 666 "$0/dev/full" c 1 7
        mknod -m 666 "$0/dev/random" c 1 8
        mknod -m 666 "$0/dev/urandom" c 1 9
        ln -s /proc/self/fd "$0/dev/fd"
        exec chroot "$0" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
            DEBIAN_FRONTEND=noninteractive sh -euc "$1"' "$roots/$1" "$2"
}

# remove_root NAME: never while something is mounted in it.
remove_root() {
    if grep -q " $roots/$1[/ ]" /proc/self/mountinfo; then
        echo "$roots/$1 has something mounted in it" >&2
        return 1
    fi
    rm -rf --one-file-system "${roots:?}/$1"
}

# A Debian with nothing but what each has, kept as a tar.
make_base() {
    local mirror
    [ ! -f "$base" ] || return 0
    mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Codename: bookworm' 'Created-By: Packages' | head -n 1)
    remove_root base || return 1
    debootstrap --variant=minbase bookworm "$roots/base" ${mirror:+"$mirror"} || return 1
    cp /etc/resolv.conf "$roots/base/etc/resolv.conf"
    apt-config dump | grep -iE '^Acquire::https?::Proxy' >"$roots/base/etc/apt/apt.conf.d/90proxy"
    in_root base 'apt-get update' || return 1
    mv "$roots"/base/var/cache/apt/archives/*.deb "$roots/archives/"
    tar -c --exclude='./dev/*' --exclude='./proc/*' -C "$roots/base" . >"$base.part" && mv "$base.part" "$base"
    remove_root base
}

# make_root NAME: a fresh one, with the packages to test and the downloads of earlier times.
make_root() {
    remove_root "$1" && mkdir -p "$roots/$1" && tar -x -C "$roots/$1" -f "$base" || return 1
    mkdir -p "$roots/$1/test" && cp "$packages"/*.{deb,whl,tar.gz} "$roots/$1/test/" || return 1
    cp -R examples tests/package "$roots/$1/test/"
    cp -l "$roots"/archives/*.deb "$roots/$1/var/cache/apt/archives/" 2>/dev/null ||
        cp "$roots"/archives/*.deb "$roots/$1/var/cache/apt/archives/" 2>/dev/null || true
}

# install_in NAME PACKAGE...: with what they need; fresh lists if those of the tar are too old.
install_in() {
    local name=$1 status=0
    shift
    in_root "$name" "apt-get install -y --no-install-recommends $*" ||
        in_root "$name" "apt-get update && apt-get install -y --no-install-recommends $*" || status=1
    cp -n "$roots/$name"/var/cache/apt/archives/*.deb "$roots/archives/" 2>/dev/null || true
    return $status
}

same_results() { # FOLDER FOLDER, from the root
    cmp "$1/first-storm.rpt" "$2/first-storm.rpt" && cmp "$1/first-storm.bin" "$2/first-storm.bin"
}
same_region() { # by the archive, beside that of the Debian package
    cp -R "$roots/debs/tmp/region" "$roots/archive/tmp/" && rm "$roots"/archive/tmp/region/*.bin &&
        in_root archive '"/srv/another place/bin/tarnvelde" run /tmp/region/region.inp --engines nested --quiet' &&
        cmp "$roots/archive/tmp/region/region.bin" "$roots/debs/tmp/region/region.bin"
}

test_debs() {
    local commit
    commit=$(read_commit "deb/tarnvelde-$version")
    check "a clean Debian" make_root debs || return
    check "apt installs the program alone" install_in debs /test/libtarnvelde2_*.deb /test/tarnvelde_*.deb || return
    check "--version has the version and the commit" in_root debs "
        tarnvelde --version | grep -qx 'tarnvelde $version' && tarnvelde --version | grep -qx 'commit    $commit'"
    check "an example runs" in_root debs 'cp -R /test/examples/first-storm /tmp/by-deb && cd /tmp/by-deb &&
        tarnvelde run first-storm.inp && grep -q "Total Rainfall  *10250.000  *50.000" first-storm.rpt'
    check "an example with engines inside nodes runs" in_root debs 'cp -R /test/examples/coupled /tmp/coupled &&
        tarnvelde run /tmp/coupled/coupled.inp --quiet && test -s /tmp/coupled/coupled.rpt'
    check "an example with a project inside a node runs" in_root debs 'cp -R /test/examples/nested-town /tmp/nested &&
        tarnvelde run /tmp/nested/nested-town.inp --engines nested --quiet && test -s /tmp/nested/district.rpt'
    check "examples of treatment plants find their steady state" in_root debs '
        cp -R /usr/share/doc/tarnvelde/engines/plant/examples /tmp/plants && cd /tmp/plants &&
        for name in plant-10000 plant-100000; do
            tarnvelde-plant check $name.sti
            tarnvelde-plant steady $name.sti --out $name.steady && cat $name.sti $name.steady >begun.sti
            tarnvelde-plant check begun.sti && grep -q "^\[INITIAL\]" $name.steady
        done'
    check "a treatment plant runs alone, with a table of inflow" in_root debs 'cd /tmp/plants &&
        tarnvelde-plant run plant-10000.sti --inflow plant-10000-inflow.csv --results out.csv &&
        test "$(wc -l <out.csv)" -eq $((14 * 96 + 1))'
    check "a project with a project and a plant inside its nodes runs" in_root debs '
        cp -R /test/package/region /tmp/region && cd /tmp/region &&
        sed "s|^END .*|END 2021/06/02|" /tmp/plants/plant-10000.sti >works.sti &&
        tarnvelde run region.inp --engines nested --quiet && mv region.bin usual.bin &&
        tarnvelde run region.inp --engines nested --engines plant --quiet && cmp region.bin usual.bin'
    check "the page of a run is written, with the licence of uPlot" in_root debs 'cd /tmp/by-deb &&
        tarnvelde report first-storm.bin --model first-storm.inp -o page.html &&
        grep -q "Copyright (c) 2022 Leon Sorokin" page.html && grep -q "</html>" page.html'
    check "netCDF is asked for where it is missing" in_root debs 'cd /tmp/by-deb &&
        ! tarnvelde export first-storm.bin -o out.nc 2>message && grep -qi netcdf message && test ! -e out.nc'
    check "apt installs the others, compilers, gnuplot and man" install_in debs /test/libtarnvelde-dev_*.deb \
        /test/python3-tarnvelde_*.deb /test/tarnvelde-doc_*.deb gcc g++ libc6-dev cmake make pkg-config gnuplot-nox libnetcdf19 \
        man-db python3-venv || return
    check "an export to netCDF is written" in_root debs 'cd /tmp/by-deb &&
        tarnvelde export first-storm.bin -o out.nc && test -s out.nc'
    check "a picture is drawn" in_root debs 'cd /tmp/by-deb &&
        tarnvelde plot first-storm.bin --object BROOK --column TotInflow -o brook.svg && grep -q "</svg>" brook.svg'
    check "the pages of the manual are there" in_root debs 'man -P cat tarnvelde | grep -q -- "--until DATE" &&
        man -P cat tarnvelde-plant | grep -q -- "--inflow FILE.csv"'
    check "bash completes" in_root debs "bash -c '. /usr/share/bash-completion/completions/tarnvelde
        COMP_WORDS=(tarnvelde en) COMP_CWORD=1; _tarnvelde; test \"\${COMPREPLY[*]}\" = ensemble
        . /usr/share/bash-completion/completions/tarnvelde-plant
        COMP_WORDS=(tarnvelde-plant st) COMP_CWORD=1; _tarnvelde_plant; test \"\${COMPREPLY[*]}\" = steady'"
    check "hosts find the library by CMake and by pkg-config" in_root debs "
        cmake -S /test/package -B /tmp/hosts -DWANTED_VERSION=$version && cmake --build /tmp/hosts &&
        /tmp/hosts/by_package && /tmp/hosts/by_pkgconfig"
    check "an example that is a host compiles and runs" in_root debs '
        mkdir /tmp/host && make -C /usr/share/doc/tarnvelde-doc/examples/many-models OUT=/tmp/host'
    check "Python runs the same" in_root debs 'cp -R /test/examples/first-storm /tmp/by-python && cd /tmp/by-python &&
        python3 -c "import tarnvelde as tv; run = tv.run(\"first-storm.inp\"); print(run.balance)" &&
        cmp first-storm.rpt /tmp/by-deb/first-storm.rpt && cmp first-storm.bin /tmp/by-deb/first-storm.bin'
    check "Python finds the engines inside nodes, too" in_root debs 'cp -R /tmp/region /tmp/region-by-python &&
        cd /tmp/region-by-python && rm *.bin && python3 -c "import tarnvelde as tv; tv.run(\"region.inp\", engines=\"nested\")" &&
        cmp region.bin /tmp/region/region.bin && cp -R /test/examples/coupled /tmp/coupled-by-python &&
        cd /tmp/coupled-by-python &&
        python3 -W ignore -c "import tarnvelde as tv; tv.run(\"coupled.inp\")" && cmp coupled.bin /tmp/coupled/coupled.bin'
    check "the program finds the Python package" in_root debs 'tarnvelde ensemble --help | grep -q -- --jobs'
    check "links of the manual lead to files" in_root debs 'cd /usr/share/doc/tarnvelde-doc && python3 - <<EOF
import pathlib, re, sys
bad = [(str(page), link) for page in [pathlib.Path("README.md"), *pathlib.Path("docs").rglob("*.md")]
       for link in re.findall(r"\]\(([^)#:]+)[^):]*\)", page.read_text()) if not (page.parent / link).exists()]
known = ("include/", "cmake/", "engines/", "mathematics/", "CONTRIBUTING", "scripts", "tests", "bench", "page/", "src/", "host/", "CHANGELOG.md")
bad = [each for each in bad if not each[1].removeprefix("../").startswith(known)]
sys.exit(str(bad) if bad else 0)
EOF'
    check "what the manual shares with other packages is there" in_root debs 'cd /usr/share/doc/tarnvelde-doc &&
        if test -d html; then test -h html/_static/jquery.js && test -z "$(find -L html -type l)"; fi'
    check "apt removes them, and nothing is left" in_root debs 'apt-get purge -y "*tarnvelde*" &&
        test -z "$(find /usr /etc /var/lib/dpkg/info -name "*tarnvelde*")"'
    check "the wheel is installed without a net" in_root debs 'python3 -m venv --system-site-packages /tmp/venv &&
        /tmp/venv/bin/pip install --no-deps --no-index /test/*manylinux*.whl'
    check "the wheel runs the same" in_root debs 'cp -R /test/examples/first-storm /tmp/by-wheel && cd /tmp/by-wheel &&
        /tmp/venv/bin/python -c "import tarnvelde as tv; tv.run(\"first-storm.inp\")" &&
        cmp first-storm.rpt /tmp/by-deb/first-storm.rpt && cmp first-storm.bin /tmp/by-deb/first-storm.bin'
    check "the wheel has the engines inside nodes" in_root debs 'cp -R /tmp/region /tmp/region-by-wheel &&
        cd /tmp/region-by-wheel && rm *.bin && for engines in "\"nested\"" "[\"nested\", \"plant\"]"; do
            /tmp/venv/bin/python -c "import tarnvelde as tv; tv.run(\"region.inp\", engines=$engines)"
            cmp region.bin /tmp/region/region.bin
        done'
}

test_archive() {
    local name=tarnvelde-$version-linux-x86_64 commit
    commit=$(read_commit tar/source)
    check "a clean Debian without SQLite" make_root archive || return
    check "it has none" in_root archive '! ls /usr/lib/*/libsqlite3*' || return
    check "the archive is unpacked and moved" in_root archive "
        mkdir /opt/one && tar -x -C /opt/one -f /test/$name.tar.gz && mv /opt/one/$name '/srv/another place' &&
        rm -r /opt/one" || return
    check "the program needs nothing but the C library" in_root archive "
        cd '/srv/another place' && files='bin/tarnvelde bin/tarnvelde-plant lib/libtarnvelde.so' &&
        files=\"\$files \$(echo lib/tarnvelde/engines/*.so lib/tarnvelde/engines/*/*.so)\" && ldd \$files && ! ldd \$files |
        grep -vE 'linux-vdso|libc\.so\.6|libm\.so\.6|ld-linux|libtarnvelde\.so\.|^(bin|lib)/.*:\$'"
    check "--version has the version and the commit" in_root archive "
        '/srv/another place/bin/tarnvelde' --version | grep -qx 'tarnvelde $version' &&
        '/srv/another place/bin/tarnvelde' --version | grep -qx 'commit    $commit'"
    check "an example runs, with a database" in_root archive 'cp -R /test/examples/first-storm /tmp/by-archive &&
        cd /tmp/by-archive && "/srv/another place/bin/tarnvelde" run first-storm.inp --results first-storm.bin --database &&
        "/srv/another place/bin/tarnvelde" results first-storm.db'
    check "an example with engines inside nodes runs" in_root archive 'cp -R /test/examples/coupled /tmp/coupled &&
        "/srv/another place/bin/tarnvelde" run /tmp/coupled/coupled.inp --quiet'
    check "projects and plants inside nodes run as by the Debian package" same_region
    check "a treatment plant runs alone" in_root archive '
        "/srv/another place/bin/tarnvelde-plant" steady /tmp/region/works.sti | grep -q "^\[INITIAL\]"'
    check "the results are those of the Debian package" same_results "$roots/archive/tmp/by-archive" "$roots/debs/tmp/by-deb"
    check "apt installs compilers" install_in archive gcc libc6-dev cmake make pkg-config || return
    check "hosts find the library by CMake and by pkg-config" in_root archive "
        mv '/srv/another place' /srv/third && export PKG_CONFIG_PATH=/srv/third/lib/pkgconfig &&
        cmake -S /test/package -B /tmp/hosts -DCMAKE_PREFIX_PATH=/srv/third -DWANTED_VERSION=$version &&
        cmake --build /tmp/hosts && /tmp/hosts/by_package && LD_LIBRARY_PATH=/srv/third/lib /tmp/hosts/by_pkgconfig"
    check "the page of the manual is there" in_root archive 'test -s /srv/third/share/man/man1/tarnvelde.1 &&
        test -s /srv/third/share/man/man1/tarnvelde-plant.1'
}

test_glibc() { # the one that the manual names
    local folder=$packages/trees/tar/tarnvelde-$version-linux-x86_64 said
    said=$(sed -n 's/.*glibc \(2\.[0-9]*\) or later.*/\1/p' docs/packages.md | head -n 1)
    needed=$(/usr/bin/python3 packaging/make-wheel.py --glibc "$folder"/bin/* "$folder/lib/libtarnvelde.so" \
        "$folder"/lib/tarnvelde/engines/{,*/}*.so)
    echo "needs $needed, the manual says $said"
    [ -n "$said" ] && [ "$needed" = "$said" ] && ls "$packages"/tarnvelde-"$version"-py3-none-manylinux_"${said/./_}"_x86_64.whl
}
test_symbols() { # of the archive: those of the list
    diff <(nm -D --defined-only "$packages/trees/tar/tarnvelde-$version-linux-x86_64/lib/libtarnvelde.so" |
        sed 's/.* //' | LC_ALL=C sort) <(sed -n 's/^ \(.*\)@Base.*/\1/p' packaging/debian/libtarnvelde*.symbols | LC_ALL=C sort)
}

scripts/install.sh packages-packaging.txt || end
version=$(sed -n 's/^project(tarnvelde VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
if [ "${1:-}" != --built ]; then
    check "packages are built" scripts/build-packages.sh || end
fi
read_commit() { sed -n 's/^\([0-9a-f]*\) .*/\1/p' "$packages/trees/$1/cmake/commit.txt"; }
check "lintian finds nothing" lintian --fail-on error,warning --tag-display-limit 0 --allow-root "$packages"/*.deb
check "the library shows what is in the list of its symbols" test_symbols
check "the archive needs no newer glibc than the manual says" test_glibc
if check "a Debian for roots" make_base; then
    test_debs
    test_archive
    remove_root debs
    remove_root archive
fi
end
