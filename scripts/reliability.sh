#!/usr/bin/env bash
# The reliability campaigns, each bounded and each ending in a line
# "<campaign>: N passed, M failed":
# - cancel with rollback at every point of the progress page, for a fresh
#   installation and an update, and "continue later" resumed through
#   maintenance (in-process under wine, KV_CAMPAIGN=full);
# - the guards against empty folder values (macro and file tests);
# - the installer ended hard (TerminateProcess) at every file of the demo
#   medium's file phase, in its registration and macro phases and during its
#   removal, then removed unattended (e2e scenario hard_kill, every point);
# - the fuzz targets, FUZZ_RUNS executions each (default 2 million).
# Exit status 0 only when every campaign passed.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
runs=${FUZZ_RUNS:-2000000}
status=0

cmake --preset windows >/dev/null
cmake --build --preset windows -j "${JOBS:-2}" --target startup_cancel_test macro_files install_file_test \
  KVSetup setup kvdriver kvpack example_demo >/dev/null || exit 1
trap '"$root/scripts/wine-session" stop "$root/build/windows"' EXIT

log=$(mktemp)
(cd build/windows && KV_CAMPAIGN=full ctest -R '^startup_cancel_test$' -V --timeout 1500) >"$log" 2>&1 || status=1
grep -oE 'cancel campaign[^:]*: [0-9]+ passed, [0-9]+ failed' "$log" \
  || { echo "cancel campaign: 0 passed, 1 failed (no summary; see $log)"; status=1; }
if grep -qE 'cancel campaign.* [1-9][0-9]* failed' "$log"; then status=1; fi

(cd build/windows && ctest -R '^(macro_files|install_file_test)$') >"$log" 2>&1
passed=$(grep -cE 'Test +#[0-9]+: (macro_files|install_file_test) .*Passed' "$log")
failed=$((2 - passed))
echo "empty folder values: $passed passed, $failed failed"
[ "$failed" -eq 0 ] || { status=1; cp "$log" build/windows/reliability-guards.log; }

# The whole sweep outlasts an e2e test's time limit: run without ctest.
scripts/wine-session start build/windows >/dev/null
KV_KILL_POINTS="files:1 files:2 files:3 files:4 files:5 files:6 register remove:5 remove:3 remove:1 remove:0" \
  timeout 1500 bash tests/e2e/scenarios/hard_kill.sh build/windows >"$log" 2>&1 || status=1
grep -oE 'hard kill: [0-9]+ passed, [0-9]+ failed' "$log" \
  || { echo "hard kill: 0 passed, 1 failed (no summary; see $log)"; status=1; }
grep -E '^FAIL \[hard_kill\]' "$log" >&2

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "${JOBS:-2}" >/dev/null || exit 1
fpassed=0; ffailed=0
for target in build/fuzz/fuzz/*_fuzz; do
  name=$(basename "$target")
  work="build/fuzz/fuzz-corpus/$name"; mkdir -p "$work" "build/fuzz/fuzz-artifacts/$name"
  if "$target" -runs="$runs" -timeout=10 -rss_limit_mb=2048 -max_len=65536 \
       -artifact_prefix="build/fuzz/fuzz-artifacts/$name/" "$work" "fuzz/corpus/$name" >"$log" 2>&1; then
    fpassed=$((fpassed + 1))
  else
    ffailed=$((ffailed + 1)); status=1
    echo "$name failed; see build/fuzz/fuzz-artifacts/$name/" >&2
  fi
done
echo "hostile input ($runs runs per target): $fpassed passed, $ffailed failed"
rm -f "$log"
exit $status
