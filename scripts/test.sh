#!/usr/bin/env bash
# Everything that must pass before a change lands: the page of a run, both builds with all tests, models in threads, the
# examples as a newcomer starts them, the Python package, the manual, the same results from both builds, half a minute
# of fuzzing, the formatter and the linter. Starts from a bare Debian 12.
# The last line counts the tests of both builds.
set -uo pipefail
cd "$(dirname "$0")/.."
passed=0
failed=0
broken=0 # stages that aren't counted as tests

# stage TEXT COMMAND...: runs a stage, says what it does and how long it took.
stage() {
    local text=$1 start=$SECONDS
    shift
    printf '\n== %s\n' "$text"
    if "$@"; then
        printf '== %s: done in %d s\n' "$text" $((SECONDS - start))
    else
        printf '== %s: FAILED after %d s\n' "$text" $((SECONDS - start))
        broken=$((broken + 1))
        return 1
    fi
}

# build PRESET [OPTION...]: a folder that scripts/run-example.sh has begun with another tool is begun anew.
build() {
    if [ -f "build/$1/CMakeCache.txt" ] && ! grep -q '^CMAKE_GENERATOR:INTERNAL=Ninja$' "build/$1/CMakeCache.txt"; then
        rm -rf "build/$1"
    fi
    cmake --preset "$1" -DTARNVELDE_TESTS_IN_LOTS=ON "${@:2}" >/dev/null && cmake --build --preset "$1"
}

# run_tests PRESET: ctest; the counts of its lots, and its other entries, added up.
run_tests() {
    local status total bad lots=build/$1/lots
    rm -rf "$lots"
    ctest --preset "$1" -j "$(nproc)" --output-junit lots/entries
    status=$?
    read -r total bad < <({ sed -n 's/^<testsuites tests="\([0-9]*\)" failures="\([0-9]*\)".*/\1 \2/p' "$lots/"*.xml
                            grep -o '<testcase name="[^"]*"[^>]* status="[a-z]*"' "$lots/entries" |
                                grep -v ' name="[a-z_]*\.[0-9]*"' | sed 's/.*status="fail"/1 1/; t; s/.*/1 0/'; } |
        awk '{ total += $1; bad += $2 } END { print total + 0, bad + 0 }')
    failed=$((failed + bad))
    passed=$((passed + total - bad))
    return "$status"
}

# count_tests COMMAND GOOD BAD: tests that count themselves, by the patterns of their last counts.
count_tests() {
    local log status good bad
    log=$(mktemp)
    "$1" 2>&1 | tee "$log"
    status=${PIPESTATUS[0]}
    good=$(sed -n "s/$2/\\1/p" "$log" | tail -n 1)
    bad=$(sed -n "s/$3/\\1/p" "$log" | tail -n 1)
    rm -f "$log"
    passed=$((passed + ${good:-0}))
    failed=$((failed + ${bad:-0}))
    return "$status"
}
test_python() {
    count_tests scripts/test-python.sh '.*[^0-9]*\b\([0-9][0-9]*\) passed.*' '.*[^0-9]*\b\([0-9][0-9]*\) failed.*'
}
test_page() {
    count_tests scripts/test-page.sh '^[^a-z]*pass \([0-9][0-9]*\)$' '^[^a-z]*fail \([0-9][0-9]*\)$'
}
test_manual() {
    count_tests scripts/test-manual.sh '^[^a-z]*pass \([0-9][0-9]*\)$' '^[^a-z]*fail \([0-9][0-9]*\)$'
}

test_windows() {
    count_tests scripts/check-windows.sh '^\([0-9][0-9]*\) passed, [0-9][0-9]* failed$' '^[0-9][0-9]* passed, \([0-9][0-9]*\) failed$'
}

run_examples() {
    local model name status=0
    for model in examples/*/*.inp; do
        name=$(basename "$(dirname "$model")")
        [ "$(basename "$model")" = "$name.inp" ] || continue
        if scripts/run-example.sh "$name" >/dev/null && grep -q 'Flow Routing Continuity' "build/examples/$name/$name.rpt"; then
            echo "example $name: runs"
        else
            echo "example $name: FAILED"
            status=1
        fi
    done
    for model in examples/*/Makefile; do
        name=$(basename "$(dirname "$model")")
        if scripts/run-example.sh "$name" >/dev/null && grep -q 'Flow Routing Continuity' "build/examples/$name/"*.rpt; then
            echo "example $name: runs"
        else
            echo "example $name: FAILED"
            status=1
        fi
    done
    return $status
}

# Results and report must be the same bits with gcc and with clang, optimised or not.
compare_builds() {
    local folder name preset status=0
    folder=$(mktemp -d)
    for name in interceptor green-street wetland-control; do
        for preset in release sanitize; do
            mkdir -p "$folder/$preset"
            cp -R "examples/$name" "$folder/$preset/$name"
            "build/$preset/tarnvelde" run "$folder/$preset/$name/$name.inp" --quiet || status=1
        done
        if cmp "$folder"/{release,sanitize}/"$name/$name.bin" && cmp "$folder"/{release,sanitize}/"$name/$name.rpt"; then
            echo "example $name: the same bits"
        else
            echo "example $name: FAILED"
            status=1
        fi
    done
    rm -rf "$folder"
    return $status
}

# Half a minute for all fuzzers together. What they find stays in build/sanitize.
run_fuzzers() {
    local fuzzers=(build/sanitize/fuzz_*) fuzzer name corpus options status=0 folder
    folder=$(mktemp -d) # a fuzzer leaves without clearing up
    for fuzzer in "${fuzzers[@]}"; do
        corpus=build/sanitize/corpus/$(basename "$fuzzer")
        mkdir -p "$corpus"
        name=${fuzzer##*/fuzz_}
        options=(-max_total_time=$((30 / ${#fuzzers[@]})) -timeout=20 -rss_limit_mb=0 -verbosity=0 -print_final_stats=1)
        [ ! -f "tests/fuzz/$name.dict" ] || options+=(-dict="tests/fuzz/$name.dict")
        [ ! -d "tests/fuzz/$name" ] || cp -n tests/fuzz/"$name"/* "$corpus"
        TMPDIR=$folder ASAN_OPTIONS=allocator_may_return_null=1 \
            "$fuzzer" "${options[@]}" -artifact_prefix=build/sanitize/ "$corpus" 2>&1 | tail -n 40
        [ "${PIPESTATUS[0]}" -eq 0 ] || status=1
    done
    rm -rf "$folder"
    return $status
}

stage "Install what is missing" scripts/install.sh packages-tests.txt packages-python.txt || { echo "0 passed, 0 failed"; exit 1; }
stage "Build the page of a run" scripts/build-page.sh
if stage "Build release with gcc" build release; then
    stage "Tests of the release build" run_tests release
    stage "Examples" run_examples
    stage "The page of a run in a browser" test_page
    stage "The Python package" test_python
    stage "The manual" test_manual
fi
if [ -x build/release/tarnvelde ]; then
    stage "The build for Windows under wine" test_windows
fi
if stage "Build with clang and the thread sanitizer" build threads -DTARNVELDE_WHOLE_ROOMS=ON; then
    stage "Models in threads" run_tests threads
fi
if stage "Build with clang and the sanitizers" build sanitize -DTARNVELDE_WHOLE_ROOMS=ON; then
    stage "Tests with the sanitizers" run_tests sanitize
    stage "The same bits from both builds" compare_builds
    if compgen -G 'build/sanitize/fuzz_*' >/dev/null; then
        stage "Fuzzing" run_fuzzers
    fi
    stage "Formatter and linter" scripts/check-style.sh
fi

printf '\n'
[ "$broken" -eq 0 ] || echo "$broken stages failed, see above"
echo "$passed passed, $failed failed"
[ "$broken" -eq 0 ] && [ "$failed" -eq 0 ]
