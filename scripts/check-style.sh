#!/usr/bin/env bash
# The formatter on every source, the linter on the sources that changed, and the worst idioms of older texts.
# scripts/check-style.sh [BASE]: what differs from the commit BASE is what changed. Without one, BASE is where this branch
# left origin/main; on origin/main itself, and without one, the last commit counts. What the linter must know stands in build/lint.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0

mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h' '*.c' | sort)
if ! clang-format-14 --dry-run --Werror "${sources[@]}"; then
    echo "Not in the house format. To mend it: clang-format-14 -i FILE..." >&2
    status=1
fi

# What readers of plain English stumble over; "after", "releases" and "is described in" say the same.
if git grep -nE '\blets? go of\b|\bone behind (the other|another)\b|\bis told in\b|\btells? the rest\b|\bbehind (the|a|each|its) ((last|first|next|latest) )?(step|report period|period|record)\b' \
    -- '*.md' '*.h' '*.cpp' '*.c' '*.def' '*.py' '*.ipynb'; then
    echo "Idioms in the texts above: say it in plain words" >&2
    status=1
fi

base=${1:-}
if [ -z "$base" ]; then
    base=$(git merge-base HEAD origin/main 2>/dev/null || true)
    if [ -z "$base" ] || [ "$base" = "$(git rev-parse HEAD)" ]; then
        base=$(git rev-parse --quiet --verify HEAD~1 || git hash-object -t tree /dev/null)
    fi
fi
# A header is linted through the source of the same name.
mapfile -t changed < <({ git diff --name-only --diff-filter=d "$base" -- '*.cpp' '*.h'
                         git ls-files --others --exclude-standard -- '*.cpp' '*.h'; } |
    sed 's/\.h$/.cpp/' | sort -u | while read -r file; do [ ! -f "$file" ] || echo "$file"; done)
if [ ${#changed[@]} -gt 0 ]; then
    echo "clang-tidy on ${#changed[@]} sources"
    cmake --preset lint >/dev/null && cmake --build --preset lint >/dev/null
    if ! printf '%s\n' "${changed[@]}" |
        xargs -P "$(nproc)" -n 1 clang-tidy-14 -p build/lint --quiet --warnings-as-errors='*' 2>/dev/null; then
        status=1
    fi
fi
exit $status
