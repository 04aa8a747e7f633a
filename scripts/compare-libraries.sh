#!/usr/bin/env bash
# Whether two libraries do the same, and which one does more work for it.
#
#     scripts/compare-libraries.sh [--results | --counts] OLD.so NEW.so [PROJECT.inp ...]
#
# Results: runs all cases of tests/golden, and the projects given, with both libraries and compares all that they leave
# behind byte by byte; each file that differs is named with its first difference. Exit status 1 if there is one.
# Counts: the instructions that both execute in the steps of four benchmarks, and in opening and starting them, by
# callgrind. Without an option both are done.
# The program that loads the libraries is build/release/golden_host, or what GOLDEN_HOST names.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
host=${GOLDEN_HOST:-$here/build/release/golden_host}

what=all
case ${1:-} in
    --results | --counts) what=${1#--}; shift ;;
esac
if [ $# -lt 2 ]; then
    echo "compare-libraries.sh [--results | --counts] OLD.so NEW.so [PROJECT.inp ...]" >&2
    exit 2
fi
old=$(realpath "$1")
new=$(realpath "$2")
shift 2
[ -x "$host" ] || { echo "$host isn't there: cmake --build --preset release --target golden_host" >&2; exit 2; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
differing=0

# both FOLDER WORDS...: the host with either library and these words, in FOLDER/old and FOLDER/new. Both must end alike.
both() {
    local folder=$1 status_old=0 status_new=0 job
    shift
    mkdir -p "$folder"
    "$host" "$old" "$@" "$folder/old" 2>"$folder/old.err" &
    job=$!
    "$host" "$new" "$@" "$folder/new" 2>"$folder/new.err" || status_new=$?
    wait $job || status_old=$?
    if [ $status_old -ne $status_new ]; then
        echo "  the host ends with status $status_old and $status_new"
        return 1
    fi
}

# show_line FILE NUMBER
show_line() { sed -n "$2{p;q}" "$1" | tr -cd '[:print:]' | cut -c1-150; }

# compare FOLDER: names each file that differs in FOLDER/old and FOLDER/new. A database is compared by its rows.
compare() {
    local folder=$1 file place line status=0
    while read -r file; do
        if [ ! -f "$folder/old/$file" ] || [ ! -f "$folder/new/$file" ]; then
            echo "  $file: only one library leaves it behind"
            status=1
        elif ! place=$(cmp "$folder/old/$file" "$folder/new/$file" 2>&1); then
            place=$(sed 's/.*differ: //; s/^cmp: EOF on .*\/\(old\|new\)\/[^ ]*/\1 ends/' <<<"$place")
            echo "  $file: $place"
            line=$(sed -n 's/.*line \([0-9]*\).*/\1/p' <<<"$place")
            if [ -n "$line" ] && [ "${file##*.}" != bin ]; then
                echo "    old: $(show_line "$folder/old/$file" "$line")"
                echo "    new: $(show_line "$folder/new/$file" "$line")"
            fi
            status=1
        fi
    done < <(cd "$folder" && { find old -type f; find new -type f; } | sed 's/^[a-z]*\///' | grep -v '\.db$' | sort -u)
    return $status
}

# check NAME WORDS...: one case or project.
check() {
    local name=$1 text
    shift
    if text=$(both "$work/case" "$@" && compare "$work/case"); then
        same=$((same + 1))
    else
        printf '%s\n%s\n' "$name" "$text"
        differing=$((differing + 1))
    fi
    rm -rf "$work/case"
}

compare_results() {
    local name
    same=0
    while read -r name; do
        check "$name" "$name"
    done < <("$host" --list)
    for name in "$@"; do
        check "$name" --project "$(realpath "$name")"
    done
    echo "$same of $((same + differing)) cases leave the same bytes behind"
}

# count LIBRARY NAME STEPS FILE: instructions of opening, starting and so many steps.
count() {
    if ! valgrind --tool=callgrind --callgrind-out-file=/dev/null \
        "$host" "$1" --bench "$2" "$3" "$4.folder" >"$4.log" 2>&1; then
        cat "$4.log" >&2
        return 1
    fi
    sed -n 's/.*Collected : *//p' "$4.log" >"$4"
}

ratio() { awk -v old="$1" -v new="$2" 'BEGIN { printf "%.2f %%", 100 * new / old }'; }

# count_bench NAME STEPS
count_bench() {
    local old_open new_open old_all new_all
    for steps in 0 "$2"; do
        count "$old" "$1" "$steps" "$work/old-$steps" &
        count "$new" "$1" "$steps" "$work/new-$steps"
        wait $!
    done
    read -r old_open <"$work/old-0"
    read -r new_open <"$work/new-0"
    read -r old_all <"$work/old-$2"
    read -r new_all <"$work/new-$2"
    printf '%-8s %6d %16d %16d %10s %16d %16d %10s\n' "$1" "$2" \
        $((old_all - old_open)) $((new_all - new_open)) "$(ratio $((old_all - old_open)) $((new_all - new_open)))" \
        "$old_open" "$new_open" "$(ratio "$old_open" "$new_open")"
}

compare_counts() {
    if ! command -v valgrind >/dev/null; then
        echo "No counts: valgrind isn't installed (Debian: valgrind)"
        return 0
    fi
    echo "Instructions"
    printf '%-8s %6s %16s %16s %10s %16s %16s %10s\n' model steps "steps: old" new ratio "open, start: old" new ratio
    count_bench network 300
    count_bench dry 300
    count_bench town 480
    count_bench street 720
}

[ "$what" = counts ] || compare_results "$@"
[ "$what" = results ] || compare_counts
[ "$differing" -eq 0 ]
