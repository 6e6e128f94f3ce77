#!/usr/bin/env bash
# Test lines against code lines: non-blank lines of C++ sources and headers
# under tests/ against those under src/ and tools/ (bench/ and fuzz/ are
# neither). Fails when the tests outgrow the code's ratio limit.
#   scripts/stats.sh            prints the figures, exit 1 above the limit
#   KV_TEST_RATIO_MAX=0.35 scripts/stats.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
max=${KV_TEST_RATIO_MAX:-0.4}

# Non-blank lines of *.cpp, *.h, *.hpp and *.cc below the given folders.
count() {
  (cd "$root" && find "$@" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' -o -name '*.cc' \) -print0 2>/dev/null) |
    (cd "$root" && xargs -0 -r cat) | grep -cv '^[[:space:]]*$' || true
}

tests=$(count tests)
code=$(count src tools)
if [ "$code" -eq 0 ]; then
  echo "stats: no code found under src/ and tools/" >&2
  exit 1
fi
ratio=$(awk -v t="$tests" -v c="$code" 'BEGIN { printf "%.2f", t / c }')
printf 'test lines   %6d  (tests/)\n' "$tests"
printf 'code lines   %6d  (src/ + tools/)\n' "$code"
printf 'ratio          %s  (limit %s)\n' "$ratio" "$max"
if awk -v t="$tests" -v c="$code" -v m="$max" 'BEGIN { exit !(t / c > m) }'; then
  echo "stats: FAIL - the tests are $ratio of the code, above the limit of $max" >&2
  exit 1
fi
