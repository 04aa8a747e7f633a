#!/usr/bin/env bash
# Whether the pace of a model shows in anything that it leaves behind: with 1, 2 and 3 threads, leaving out what can't
# change and working everything out.
#
#     scripts/check-pace.sh [COUNT [FIRST]]
#
# So many generated towns (200), of the seeds from FIRST (1) on, are run whole, with a host that sets values, and through
# restored states; then all cases of tests/golden. Takes build/release, or the build that PACE_BUILD names.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${PACE_BUILD:-build/release}
count=${1:-200}
first=${2:-1}
[[ $count =~ ^[1-9][0-9]*$ && $first =~ ^[0-9]+$ ]] || { echo "check-pace.sh [COUNT [FIRST]]" >&2; exit 2; }
for program in bench_tests golden_tests golden_host; do
    [ -x "$build/$program" ] || { echo "$build/$program isn't there: cmake --build --preset release" >&2; exit 2; }
done
log=$(mktemp)
trap 'rm -f "$log"' EXIT
failed=0

# check TEXT COMMAND...: runs a command, says how it went, and shows what it found.
check() {
    local text=$1
    shift
    if "$@" >"$log" 2>&1 && grep -q '\[  PASSED  \]' "$log"; then
        echo "the same: $text"
    else
        echo "DIFFERENT: $text"
        grep -aE 'Which is|^town|Failure|FAILED' "$log" | head -n 40 || true
        failed=1
    fi
}

for test in LeavesTheSameInEveryManner LeavesTheSameWhateverAHostSets LeavesTheSameBehindRestoredStates \
    GoesOnFromAStateAsTheWholeRunInEveryManner; do
    check "$count towns, $test" env TARNVELDE_PACE_TOWNS="$count" TARNVELDE_PACE_FIRST="$first" \
        "$build/bench_tests" --gtest_filter="SamePace.$test"
done
for threads in 1 2 3; do
    check "golden cases, $threads threads" env GOLDEN_THREADS="$threads" "$build/golden_tests" --gtest_brief=1
    check "golden cases, $threads threads, nothing left out" \
        env GOLDEN_THREADS="$threads" GOLDEN_PLAIN=1 "$build/golden_tests" --gtest_brief=1
done

if [ "$failed" -ne 0 ]; then
    echo "The pace of a model shows."
    exit 1
fi
echo "The pace of a model shows nowhere: $count towns and all golden cases, in six manners."
