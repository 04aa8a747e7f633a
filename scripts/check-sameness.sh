#!/usr/bin/env bash
# Whether anything but the project shows in what a run leaves behind: the build, the repetition, the settings of the
# processor, the locale, the time zone, the folder, the number of threads. All that examples leave behind - report,
# binary file, rows of the database, what models inside nodes wrote, each call with its numbers - is compared byte by
# byte with what the first run left.
#
#     scripts/check-sameness.sh [OTHER.so ...]
#
# The first library is that of build/release; others, such as that of build/clang, are compared with it. With WHOLE=1 all
# cases of tests/golden are run in each surrounding, which takes minutes, else the examples alone.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=${SAMENESS_BUILD:-$root/build/release}
host=$build/golden_host
libraries=("$build/libtarnvelde.so")
for library in "$@"; do
    libraries+=("$(realpath "$library")")
done
[ -x "$host" ] || { echo "$host isn't there: cmake --build --preset release --target golden_host" >&2; exit 2; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

mapfile -t cases < <("$host" --list | if [ -n "${WHOLE:-}" ]; then cat; else grep '^example-'; fi)

# run LIBRARY FOLDER [NAME=VALUE ...]: all cases, each in a folder of its own.
run() {
    local library=$1 folder=$2 name
    shift 2
    for name in "${cases[@]}"; do
        env "$@" "$host" "$library" "$name" "$folder/$name" >/dev/null 2>&1 || echo "status $?" >"$folder/$name/status"
    done
    # The pages of a database aren't looked at, but its rows are.
    rm -f "$folder"/*/*.db
}

# same TEXT LIBRARY [NAME=VALUE ...]: runs all cases in a surrounding, and compares.
same() {
    local text=$1 library=$2 folder
    folder=$(mktemp -d "$work/XXXXXX")
    shift 2
    run "$library" "$folder" "$@"
    if diff -rq --no-dereference -x engines "$work/first" "$folder" >"$work/differences"; then
        echo "the same: $text"
    else
        echo "DIFFERENT: $text"
        sed "s|$work/||g; s/^/    /" "$work/differences" | head -n 10
        failed=1
    fi
    rm -rf "$folder"
}

mkdir "$work/first"
run "${libraries[0]}" "$work/first"
if compgen -G "$work/first/*/status" >/dev/null; then
    echo "the first run fails: $(cat "$work"/first/*/status | head -n 1)" >&2
    exit 1
fi

# A locale whose numbers have a comma: that of the system, or one of our own.
locale=de_DE.ISO-8859-1
if command -v localedef >/dev/null && localedef -i de_DE -f ISO-8859-1 "$work/$locale" >/dev/null 2>&1; then
    comma=(LOCPATH="$work" LC_ALL="$locale")
else
    comma=(LC_ALL=de_DE.UTF-8)
fi

for library in "${libraries[@]}"; do
    name=${library#"$root"/}
    for time in {1..20}; do
        same "$name, run $time of 20" "$library"
    done
    for setting in PlainWithNotedExceptions RoundingDown RoundingUp RoundingToZero FlushToZero DenormalsAreZero \
        FastMathematics TrapsForDivisions AllTraps AllTrapsAndRoundingUp SinglePrecision DoublePrecision; do
        same "$name, a host of the setting $setting" "$library" GOLDEN_ARITHMETIC=$setting
        same "$name, a host of the setting $setting, three threads" "$library" GOLDEN_ARITHMETIC=$setting \
            GOLDEN_THREADS=3
    done
    same "$name, engines that set the processor" "$library" TARNVELDE_ENGINE_SPOILS=1
    same "$name, numbers with a comma" "$library" "${comma[@]}" GOLDEN_LOCALE=1
    same "$name, the time of Tokyo" "$library" TZ=Asia/Tokyo
    same "$name, another home and no environment of ours" "$library" HOME=/nowhere LANG=C TZ=UTC
done

if [ "$failed" -ne 0 ]; then
    echo "Something but the project shows."
    exit 1
fi
echo "Nothing but the project shows: ${#libraries[@]} builds, ${#cases[@]} cases in each surrounding."
