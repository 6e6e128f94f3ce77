#!/usr/bin/env bash
# Runs every libFuzzer target of a fuzz build for the given number of seconds
# each, starting from its seed corpus in fuzz/corpus/<target>/. New inputs go to a
# working corpus inside the build folder, so the seeds in the repository stay
# as they are; crashes land in <build>/fuzz-artifacts/.
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

status=0
for target in $targets; do
  name=$(basename "$target")
  work="$build/fuzz-corpus/$name"
  artifacts="$build/fuzz-artifacts/$name/"
  mkdir -p "$work" "$artifacts"
  echo "== $name: ${seconds}s"
  log="$build/fuzz-$name.log"
  # -timeout: an input that takes longer than 10 s counts as a hang;
  # -rss_limit_mb: a blow-up counts as a finding, not as a slow machine.
  if ! "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=65536 \
       -print_final_stats=1 -artifact_prefix="$artifacts" "$work" "$root/fuzz/corpus/$name" >"$log" 2>&1; then
    status=1
    echo "run-fuzz: $name found a problem; see $log and $artifacts" >&2
  fi
  grep -E '^stat::number_of_executed_units|^stat::peak_rss_mb|^#[0-9]+.*DONE' "$log" || tail -n 5 "$log"
  echo "corpus: $(find "$work" -type f | wc -l) inputs in $work"
done
exit $status
