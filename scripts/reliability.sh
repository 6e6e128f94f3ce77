#!/usr/bin/env bash
# The reliability campaigns, each bounded and each ending in a line
# "<campaign>: N passed, M failed":
# - cancel with rollback at every point of the progress page, for a fresh
#   installation and an update, and "continue later" resumed through
#   maintenance (in-process under wine, KV_CAMPAIGN=full);
# - the guards against empty folder values (macro and file tests);
# - resources: overlong paths, the medium taken away, a full disk;
# - the installer ended hard (TerminateProcess) at every file of the demo
#   medium's file phase, in its registration and macro phases and during its
#   removal, then removed unattended (e2e scenario hard_kill, every point);
# - the fuzz targets, FUZZ_SECONDS each (default 120), counted in the ledger
#   that `make fuzz` keeps.
# Exit status 0 only when every campaign passed.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
seconds=${FUZZ_SECONDS:-120}
status=0

cmake --preset windows >/dev/null
cmake --build --preset windows -j "${JOBS:-2}" --target startup_cancel_test macro_files install_file_test ui_page_logic_test \
  KVSetup setup kvdriver kvpack example_demo >/dev/null || exit 1
trap '"$root/scripts/wine-session" stop "$root/build/windows"' EXIT

log=$(mktemp)
(cd build/windows && KV_CAMPAIGN=full ctest -R '^startup_cancel_test$' -V --timeout 1500) >"$log" 2>&1 || status=1
grep -oE 'cancel campaign[^:]*: [0-9]+ passed, [0-9]+ failed' "$log" \
  || { echo "cancel campaign: 0 passed, 1 failed (no summary; see $log)"; status=1; }
if grep -qE 'cancel campaign.* [1-9][0-9]* failed' "$log"; then status=1; fi

# Passed and failed of the named ctest tests, as one campaign line; a test
# that skips (77: no small disk can be mounted here) counts as neither.
ctest_campaign() {
  local title=$1 tests=$2 passed failed
  (cd build/windows && ctest -R "^($tests)\$" --output-on-failure) >"$log" 2>&1
  passed=$(grep -cE "Test +#[0-9]+: ($tests) .* Passed" "$log")
  failed=$(grep -cE "Test +#[0-9]+: ($tests) .*(Failed|Timeout|Exception)" "$log")
  grep -E 'Test +#[0-9]+: [a-z_]+ .*Skipped' "$log" >&2
  echo "$title: $passed passed, $failed failed"
  [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ] || { status=1; cp "$log" "build/windows/reliability-${title// /-}.log"; }
}
ctest_campaign "empty folder values" 'macro_files|install_file_test'
# Overlong paths (path page and file copy), the medium taken away and given
# back, a full disk answered with Abbrechen and with Ignorieren.
ctest_campaign "resources" 'ui_page_logic_test|install_file_test|e2e_full_disk'

# The whole sweep outlasts an e2e test's time limit: run without ctest.
scripts/wine-session start build/windows >/dev/null
KV_KILL_POINTS="files:1 files:2 files:3 files:4 files:5 files:6 register remove:5 remove:3 remove:1 remove:0" \
  timeout 1500 bash tests/e2e/scenarios/hard_kill.sh build/windows >"$log" 2>&1 || status=1
grep -oE 'hard kill: [0-9]+ passed, [0-9]+ failed' "$log" \
  || { echo "hard kill: 0 passed, 1 failed (no summary; see $log)"; status=1; }
grep -E '^FAIL \[hard_kill\]' "$log" >&2

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "${JOBS:-2}" >/dev/null || exit 1
# Each target for FUZZ_SECONDS; the executions add up in the fuzz ledger.
scripts/run-fuzz.sh build/fuzz "$seconds" >"$log" 2>&1 || status=1
fpassed=$(grep -cE '^[a-z_]+_fuzz: [0-9]+ executions, .*, passed$' "$log")
ffailed=$(grep -cE '^[a-z_]+_fuzz: [0-9]+ executions, .*, failed$' "$log")
[ $((fpassed + ffailed)) -gt 0 ] || { ffailed=1; status=1; }
grep -E '^run-fuzz:' "$log" >&2
echo "hostile input (${seconds} s per target): $fpassed passed, $ffailed failed"
rm -f "$log"
exit $status
