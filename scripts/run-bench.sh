#!/usr/bin/env bash
# Runs the benchmarks of a bench build and prints their figures.
#   scripts/run-bench.sh [build folder, default build/bench]
# Native benchmarks: every executable *_bench in <build>/bench/.
# Windows benchmarks: every *_bench.exe in $KV_BENCH_WINDOWS_BUILD/bench/,
# only when that variable names a Windows build folder: the script then
# starts and stops that folder's wine session, which must not be in use by a
# test run at the same time.
# A new benchmark needs no change here as long as it follows the naming.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-build/bench}
case "$build" in /*) ;; *) build="$root/$build" ;; esac
status=0

run_native() {
  local found=0
  for exe in "$build"/bench/*_bench; do
    [ -f "$exe" ] && [ -x "$exe" ] || continue
    found=1
    echo "== $(basename "$exe")"
    "$exe" || { status=1; echo "run-bench: $(basename "$exe") failed" >&2; }
  done
  [ $found -eq 1 ] || echo "run-bench: no native benchmarks in $build/bench" >&2
}

run_windows() {
  [ -n "${KV_BENCH_WINDOWS_BUILD:-}" ] || return 0
  local wbuild=$KV_BENCH_WINDOWS_BUILD
  case "$wbuild" in /*) ;; *) wbuild="$root/$wbuild" ;; esac
  local exes=()
  for exe in "$wbuild"/bench/*_bench.exe; do
    [ -f "$exe" ] && exes+=("$exe")
  done
  [ ${#exes[@]} -gt 0 ] || return 0
  "$root/scripts/wine-session" start "$wbuild"
  trap '"$root/scripts/wine-session" stop "$wbuild"' EXIT
  for exe in "${exes[@]}"; do
    echo "== $(basename "$exe") (wine)"
    KV_BUILD_DIR="$wbuild" "$root/scripts/wine-run" "$exe" || { status=1; echo "run-bench: $(basename "$exe") failed" >&2; }
  done
  "$root/scripts/wine-session" stop "$wbuild"
  trap - EXIT
}

run_native
run_windows
exit $status
