#!/usr/bin/env bash
# How many branches of the command line its own tests take, per source of host/ and in all.
#
#     scripts/measure-coverage.sh [--missing]
#
# Builds `coverage` with gcc, runs the tests of the command line, and what full disks and signals leave behind. Counts are
# written when a process ends: one that is killed writes none, and one whose memory is refused can't; what either takes
# beyond the others is missing here. --missing shows the lines with branches that nothing takes.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/coverage
cmake --preset coverage >/dev/null
cmake --build --preset coverage
find "$build" -name '*.gcda' -delete
status=0
"$build/host_tests" --gtest_brief=1 --gtest_filter='-*Refusals*' || status=1
for fault in sizes signals; do
    /usr/bin/python3 tests/fault/faults.py "$fault" "$build/tarnvelde" --points 4 || status=1
done
/usr/bin/python3 scripts/count-branches.py "$build" host "$@"
exit "$status"
