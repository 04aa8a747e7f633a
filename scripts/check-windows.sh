#!/usr/bin/env bash
# The build for Windows: with mingw-w64, tested under wine. Builds the library with its import library, the program, the
# trial engines and the tests into build/windows-check, with little optimisation, which changes no bit; runs the tests of
# hosts and of what knows of the system; runs all examples and compares what they leave byte by byte with what the
# program of build/release leaves; makes the package (scripts/build-windows.sh) and runs it from a folder with a blank.
# The last line counts what passed.
set -uo pipefail
cd "$(dirname "$0")/.."
scripts/install.sh packages-windows.txt || exit 1
[ -x build/release/tarnvelde ] || { echo "build/release/tarnvelde isn't there: cmake --build --preset release" >&2; exit 2; }
root=$PWD
work=$(mktemp -d)
export WINEPREFIX=$work/prefix WINEDEBUG=-all DISPLAY= # no window, and nothing of a wine that the user has
finish() {
    wineserver -k 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT
passed=0
failed=0

# say TEXT STATUS: counts one check.
say() {
    if [ "$2" -eq 0 ]; then
        passed=$((passed + 1))
        echo "ok: $1"
    else
        failed=$((failed + 1))
        echo "FAILED: $1"
    fi
}
end() {
    echo "$passed passed, $failed failed"
    [ "$failed" -eq 0 ]
    exit
}

scripts/get-sqlite.sh build/sqlite &&
    cmake --preset windows -B build/windows-check -DCMAKE_C_FLAGS_RELEASE="-O1 -DNDEBUG" \
        -DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG" >/dev/null &&
    cmake --build build/windows-check
say "library, program, engines and tests build" $?
[ "$failed" -eq 0 ] || end
windows=$root/build/windows-check
(cd "$work" && timeout 120 wine wineboot -i >/dev/null 2>&1)

# run_wine PROGRAM ...: a program of the build; its standard input is empty.
run_wine() {
    timeout 300 wine "$@" </dev/null
}

# No DLL but those of the system is asked for.
foreign=$(x86_64-w64-mingw32-objdump -p "$windows"/*.exe "$windows"/*.dll | sed -n 's/.*DLL Name: //p' |
    grep -vixE 'kernel32\.dll|msvcrt\.dll|user32\.dll|advapi32\.dll|tarnvelde\.dll' | sort -u)
[ -z "$foreign" ]
say "no DLL of the compiler is needed ($(echo $foreign))" $?

# The mathematics and the printing of numbers.
cc -O1 -fno-builtin -ffp-contract=off -w tests/windows/sameness.c mathematics/circle.c -o "$work/sameness" -lm &&
    "$work/sameness" >"$work/here.txt" && run_wine "$windows/windows_sameness.exe" | tr -d '\r' >"$work/there.txt" &&
    diff "$work/here.txt" "$work/there.txt"
say "mathematics and numbers in texts have the bits of Linux" $?

# count_suite NAME: a test program; its own counts are added.
count_suite() {
    local log=$work/$1.log good bad
    (cd "$windows" && run_wine "./$1.exe" --gtest_color=no --gtest_brief=1) >"$log" 2>&1
    local status=$?
    good=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) test.*/\1/p' "$log" | tail -n 1)
    bad=$(sed -n 's/^\[  FAILED  \] \([0-9]*\) test.*/\1/p' "$log" | tail -n 1)
    passed=$((passed + ${good:-0}))
    failed=$((failed + ${bad:-0}))
    echo "$1: ${good:-0} passed, ${bad:-0} failed"
    if [ "$status" -ne 0 ]; then
        tail -n 40 "$log"
        [ "${bad:-0}" -gt 0 ] || say "$1 comes to its end" 1
    fi
}
count_suite windows_unit_tests
count_suite windows_api_tests

# same_example NAME: what a run leaves here and there, in a folder with a blank and an umlaut. The text beside the binary
# file has a sum of all inputs, to which the libraries of the engines belong.
same_example() {
    local name=$1 here=$work/here/$1 there="$work/da drüben/$1"
    mkdir -p "$work/here" "$work/da drüben"
    cp -R "examples/$name" "$here"
    cp -R "examples/$name" "$there"
    (cd "$here" && "$root/build/release/tarnvelde" run "$name.inp" --quiet) >/dev/null 2>&1 || return 1
    (cd "$there" && run_wine "$windows/tarnvelde.exe" run "$name.inp" --quiet) >/dev/null 2>&1 || return 1
    [ -s "$there/$name.bin" ] && [ -s "$there/$name.rpt" ] || return 1
    grep -v '^inputs' "$here/$name.bin.run" >"$work/a" && grep -v '^inputs' "$there/$name.bin.run" >"$work/b" &&
        cmp "$work/a" "$work/b" || return 1
    diff -rq -x '*.bin.run' "$here" "$there"
}
for model in examples/*/*.inp; do
    name=$(basename "$(dirname "$model")")
    [ "$(basename "$model")" = "$name.inp" ] || continue
    case $name in nested-town | catchment-plant-river) continue ;; esac # their engines are for Linux alone
    same_example "$name"
    say "example $name: results and report as on Linux" $?
done

# same_output TEXT WORDS...: a command that reads results, or a project.
same_output() {
    local text=$1 a b
    shift
    (cd "$work/here/storm-tank" && "$root/build/release/tarnvelde" "$@") >"$work/a" 2>"$work/a2"
    a=$?
    (cd "$work/da drüben/storm-tank" && run_wine "$windows/tarnvelde.exe" "$@") >"$work/b" 2>"$work/b2"
    b=$?
    sed -i '/"wallTime"/d' "$work/a" "$work/b"
    [ "$a" -eq "$b" ] && [ -s "$work/a" ] && diff "$work/a" "$work/b" && diff "$work/a2" "$work/b2"
    say "$text: the same output" $?
}
database=(run storm-tank.inp --database=storm-tank.db --report db.rpt --quiet)
(cd "$work/here/storm-tank" && "$root/build/release/tarnvelde" "${database[@]}") >/dev/null 2>&1
(cd "$work/da drüben/storm-tank" && run_wine "$windows/tarnvelde.exe" "${database[@]}") >/dev/null 2>&1
sqlite3 "$work/here/storm-tank/storm-tank.db" .dump >"$work/a" &&
    sqlite3 "$work/da drüben/storm-tank/storm-tank.db" .dump >"$work/b" && [ -s "$work/a" ] && cmp "$work/a" "$work/b"
say "a database of results: the same rows" $?
same_output "check" check storm-tank.inp --json
same_output "results" results storm-tank.bin --summary
same_output "results of a database" results storm-tank.db --summary
same_output "stats" stats storm-tank.bin --events
same_output "explain" explain W-unit-slope

# same_file TEXT FILE WORDS...: a command that writes a file.
same_file() {
    local text=$1 file=$2
    shift 2
    (cd "$work/here/storm-tank" && "$root/build/release/tarnvelde" "$@") >/dev/null 2>&1 &&
        (cd "$work/da drüben/storm-tank" && run_wine "$windows/tarnvelde.exe" "$@") >/dev/null 2>&1 &&
        [ -s "$work/here/storm-tank/$file" ] && cmp "$work"/{here,da\ drüben}/storm-tank/"$file"
    say "$text: the same file" $?
}
same_file "export to CSV" "über lang.csv" export storm-tank.bin -o "über lang.csv" --long
same_file "a second export takes the place of the first" "über lang.csv" export storm-tank.bin -o "über lang.csv" --long
same_file "results by object" storm-tank.tvo results storm-tank.bin --by-object -o storm-tank.tvo
same_file "export to a map" map.geojson export storm-tank.bin --model storm-tank.inp -o map.geojson

there="$work/da drüben/storm-tank"
(cd "$there" && run_wine "$windows/tarnvelde.exe" export storm-tank.bin --model storm-tank.inp -o map.gpkg) >/dev/null 2>&1
[ "$(sqlite3 "$there/map.gpkg" 'PRAGMA integrity_check' 2>/dev/null)" = ok ]
say "export to a GeoPackage: whole" $?
(cd "$there" && run_wine "$windows/tarnvelde.exe" export storm-tank.bin -o all.nc) 2>"$work/b2" >/dev/null
[ $? -eq 1 ] && grep -q 'built without the netCDF library' "$work/b2" && [ ! -e "$there/all.nc" ]
say "export to netCDF: says that it can't" $?
(cd "$there" && run_wine "$windows/tarnvelde.exe" plot storm-tank.bin --object BASIN --column Vol -o vol.svg) 2>"$work/b2" >/dev/null
[ $? -eq 1 ] && grep -q 'cannot start gnuplot' "$work/b2" && [ ! -e "$there/vol.svg" ]
say "plot without gnuplot: says so" $?
(cd "$there" && run_wine "$windows/tarnvelde.exe" ensemble x.toml) 2>"$work/b2" >/dev/null
[ $? -eq 2 ] && grep -q 'python -m tarnvelde ensemble' "$work/b2"
say "ensemble: says how else" $?
(cd "$there" && run_wine "$windows/tarnvelde.exe" run storm-tank.inp --report storm-tank.inp) 2>"$work/b2" >/dev/null
[ $? -ne 0 ] && cmp "$there/storm-tank.inp" examples/storm-tank/storm-tank.inp
say "an output that is an input is refused" $?
(cd "$there" && run_wine "$windows/tarnvelde.exe" run nothing.inp) >"$work/b" 2>&1
[ $? -eq 1 ] && grep -q 'nothing.inp' "$work/b"
say "a project that isn't there: told" $?
if [ -f page/dist/template.html ]; then
    (cd "$there" && run_wine "$windows/tarnvelde.exe" report storm-tank.bin --model storm-tank.inp -o page.html --quiet) >/dev/null 2>&1 &&
        (cd "$work/here/storm-tank" && "$root/build/release/tarnvelde" report storm-tank.bin --model storm-tank.inp -o page.html --quiet) >/dev/null 2>&1 &&
        grep -q '</html>' "$there/page.html" && [ "$(wc -c <"$there/page.html")" -gt 50000 ]
    say "the page of a run is written" $?
fi

# The package, as a user has it: unpacked into a folder with a blank, and run from elsewhere.
if scripts/build-windows.sh "$windows" >"$work/log" 2>&1; then
    unpacked="$work/Program Files"
    mkdir "$unpacked"
    unzip -q build/packages/tarnvelde-*-windows-x86_64.zip -d "$unpacked"
    folder=$(echo "$unpacked"/tarnvelde-*)
    for name in coupled storm-tank; do
        (cd "$folder/examples/$name" && run_wine "$folder/bin/tarnvelde.exe" run "$name.inp" --quiet) >/dev/null 2>&1 &&
            cmp "$folder/examples/$name/$name.bin" "$work/here/$name/$name.bin" &&
            cmp "$folder/examples/$name/$name.rpt" "$work/here/$name/$name.rpt"
        say "the package runs the example $name" $?
    done
    # A host in C, linked with the import library of the package, and with that for other compilers.
    mpc=examples/host-mpc-c
    cc -std=c99 -Iinclude "$mpc/controller.c" -o "$work/controller" -Lbuild/release -ltarnvelde \
        -Wl,-rpath,"$root/build/release" && "$work/controller" "$mpc/controller.inp" "$work/a.rpt" >"$work/a"
    for library in libtarnvelde.dll.a tarnvelde.lib; do
        rm -f "$work/b" "$work/b.rpt"
        x86_64-w64-mingw32-gcc-posix -std=c99 -I"$folder/include" "$mpc/controller.c" "$folder/lib/$library" \
            -o "$folder/bin/controller.exe" && cp "$mpc/controller.inp" "$work/" &&
            (cd "$work" && run_wine "$folder/bin/controller.exe" controller.inp b.rpt) | tr -d '\r' >"$work/b"
        [ -s "$work/a" ] && diff "$work/a" "$work/b" && cmp "$work/a.rpt" "$work/b.rpt"
        say "a host in C with $library does as on Linux" $?
    done
    # The wheel, from outside: a Python for Windows isn't at hand. What it would do with the library is done in C.
    wheel=$(echo "$root"/build/packages/tarnvelde-*-win_amd64.whl)
    WHEEL=$wheel LIBRARY=$root/build/release/libtarnvelde.so /usr/bin/python3 tests/package/packages_test.py \
        WindowsWheel >"$work/log" 2>&1 || { tail -n 40 "$work/log"; false; }
    say "the wheel is whole, for Windows, and shows all functions" $?
    place="$work/Länder/site-packages"
    mkdir -p "$place" && unzip -q "$wheel" -d "$place" && cp -R examples/coupled "$place/"
    (cd "$place" && /usr/bin/python3 -c 'import sys, types
package = sys.modules["tarnvelde"] = types.ModuleType("tarnvelde")
package.__path__ = ["tarnvelde"]
from tarnvelde._header import FUNCTIONS
print(*FUNCTIONS, sep="\n")') >"$place/names"
    (cd "$place/coupled" && run_wine "$windows/windows_wheel.exe" "$(winepath -w "$place/tarnvelde/lib/tarnvelde.dll")" \
        ../names ../tarnvelde/lib/tarnvelde/engines/ coupled.inp coupled.rpt coupled.bin) | tr -d '\r' >"$work/b"
    [ "$(cat "$work/b")" = "$(grep -c . "$place/names") functions" ] && [ "$(grep -c . "$place/names")" -gt 50 ] &&
        cmp "$place/coupled/coupled.bin" "$work/here/coupled/coupled.bin" &&
        cmp "$place/coupled/coupled.rpt" "$work/here/coupled/coupled.rpt"
    say "the library and the engines of the wheel do as on Linux" $?
else
    cat "$work/log"
    say "the package is made" 1
fi
end
