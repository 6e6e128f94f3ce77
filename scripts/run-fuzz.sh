#!/usr/bin/env bash
# Runs every libFuzzer target of a fuzz build, starting from its seed corpus
# in fuzz/corpus/<target>/, for the given number of seconds each or, with
# FUZZ_RUNS set, for that many executions. FUZZ_TARGETS (names, blank
# separated) picks some of them. New inputs go to a working corpus inside the
# build folder, so the seeds in the repository stay as they are; crashes land
# in <build>/fuzz-artifacts/.
#
# Every run appends a line to <build>/fuzz-ledger.tsv (time, commit, target,
# executions, corpus size, result) and the script ends with each target's
# executions summed over the ledger, so counts add up across runs.
#   scripts/run-fuzz.sh build/fuzz 60
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-build/fuzz}
seconds=${2:-60}
case "$build" in /*) ;; *) build="$root/$build" ;; esac

targets=$(find "$build/fuzz" -maxdepth 1 -type f -name '*_fuzz' -perm -u+x 2>/dev/null | sort)
if [ -z "$targets" ]; then
  echo "run-fuzz: no fuzz targets in $build/fuzz (build the 'fuzz' preset first)" >&2
  exit 1
fi
if [ -n "${FUZZ_RUNS:-}" ]; then limit=(-runs="$FUZZ_RUNS"); else limit=(-max_total_time="$seconds"); fi
ledger="$build/fuzz-ledger.tsv"
commit=$(git -C "$root" rev-parse --short HEAD 2>/dev/null || echo unknown)

status=0
for target in $targets; do
  name=$(basename "$target")
  if [ -n "${FUZZ_TARGETS:-}" ] && ! [[ " $FUZZ_TARGETS " == *" $name "* ]]; then continue; fi
  work="$build/fuzz-corpus/$name"
  artifacts="$build/fuzz-artifacts/$name/"
  mkdir -p "$work" "$artifacts"
  echo "== $name: ${limit[*]}"
  log="$build/fuzz-$name.log"
  result=passed
  # -timeout: an input that takes longer than FUZZ_TIMEOUT seconds (30) counts
  # as a hang - generous, since long runs share a busy machine at low priority;
  # -rss_limit_mb: a blow-up counts as a finding, not as a slow machine.
  if ! "$target" "${limit[@]}" -timeout="${FUZZ_TIMEOUT:-30}" -rss_limit_mb=2048 -max_len=65536 \
       -print_final_stats=1 -artifact_prefix="$artifacts" "$work" "$root/fuzz/corpus/$name" >"$log" 2>&1; then
    result=failed
  fi
  # Stopped by hand (Ctrl-C): what ran counts, and nothing was found.
  if grep -q 'libFuzzer: run interrupted' "$log"; then result=interrupted; fi
  if [ $result = failed ]; then
    status=1
    echo "run-fuzz: $name found a problem; see $log and $artifacts" >&2
  fi
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  corpus=$(find "$work" -type f | wc -l)
  printf '%s\t%s\t%s\t%s\t%s\t%s\n' "$(date -u +%FT%TZ)" "$commit" "$name" "${runs:-0}" "$corpus" "$result" >>"$ledger"
  echo "$name: ${runs:-0} executions, corpus $corpus inputs, $result"
done
echo "== executions over all runs recorded in $ledger"
awk -F'\t' '{ n[$3] += $4; f[$3] += ($6 == "failed") } END { for (t in n) printf "%s: %d executions, %d failed runs\n", t, n[t], f[t] }' "$ledger" | sort
exit $status
