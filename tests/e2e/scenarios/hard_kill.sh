#!/usr/bin/env bash
# The installer ended hard (TerminateProcess, as a crash or a power cut would)
# at points of an unattended installation of the demo medium and of its
# uninstallation; the quiet removal from the staged installer then leaves
# nothing of the package: no file, no index, no uninstall entry, and the
# status file it found was whole.
#   KV_KILL_POINTS  the points, each one of
#                   files:N    N files of the package are on the disk
#                   register   the link class is being registered
#                   remove:N   the uninstallation has left N files
# The default is the quick sample of `make test`; `make reliability` passes
# every point. Ends with "hard kill: N passed, M failed".
. "$(dirname "$0")/../lib.sh" "$1" hard_kill
points=${KV_KILL_POINTS:-files:2 register remove:3}
key='Kivra Demo_1.0'
installer='C:\Program Files\Kivra\Setup\KVSetup.exe'
app_win='C:\Program Files\Kivra\Demo'
medium=$(make_medium demo) || exit 1
setup=$(winpath "$medium/setup.exe")
quiet_remove="\"$installer\" /quiet /log \"$LOGS_WIN\\remove.log\" /uninstall -m \"$key\""

# A status file is whole when it parses: its groups close in the order they
# opened, and the file list is the last of them.
status_whole() {
  local f="$SETUP_DIR/Packages/$key/status.ini"
  [ -e "$f" ] || return 0
  iconv -f cp1252 -t utf-8 "$f" | tr -d '\r' | awk '
    /^ *<[^\/].*>$/ { sub(/^ *</, ""); sub(/>$/, ""); stack[++n] = tolower($0); next }
    /^ *<\/.*>$/    { sub(/^ *<\//, ""); sub(/>$/, ""); if (n == 0 || stack[n] != tolower($0)) exit 1; last = stack[n--] }
    END { exit !(n == 0 && last == "files") }'
}

# The driver without a desktop: the runs show no window.
bare() { timeout 300 "$KV_WINE" "$DRIVER" "$@"; }

# kill_run POINT: runs the installation (and for remove:N the removal) and
# ends it at POINT. (The driver writes to a file: a helper that the kill
# caught while it was being started keeps wine's output pipe open.)
kill_run() {
  local kind=${1%%:*} n=${1#*:} out="$WORK/kill.out"
  local install="\"$setup\" /quiet /log \"$LOGS_WIN\\install.log\""
  case $kind in
    files) bare run "$install" killwhen KVSetup.exe files "$app_win" "$n" 120 >"$out" ;;
    register) bare run "$install" killwhen KVSetup.exe key HKCR .kvsetuplink_KivraDemo_1_0 120 >"$out" ;;
    remove)
      unattended 0 "$install"
      bare run "\"$installer\" /quiet /log \"$LOGS_WIN\\kill.log\" /uninstall -m \"$key\"" \
        killwhen KVSetup.exe fewer "$app_win" "$n" 120 >"$out" ;;
    *) fail "unknown kill point $1" ;;
  esac || fail "$1: the run was not ended at its point"
  say "$1: $(tr -d '\r' <"$out")"
  # Under wine a helper whose start the kill interrupted (the registration
  # helper, mostly) never gets going; on Windows it would finish on its own.
  sleep 2
  if prefix_process_running 'dllregsv\.exe'; then say "$1: a stalled registration helper ended"; fi
  kill_installers
}

check_point() {
  say "$1: start $(date +%T)"
  reset_machine
  mkdir -p "$LOGS"
  kill_run "$1"
  cp "$SETUP_DIR/Packages/$key/status.ini" "$LOGS/status-after-kill.log" 2>/dev/null
  status_whole || fail "$1: status.ini is torn"
  say "$1: removal $(date +%T)"
  unattended 0 "$quiet_remove"
  for _ in $(seq 1 120); do [ -e "$SETUP_DIR" ] || break; sleep 0.5; done
  [ ! -e "$SETUP_DIR" ] || fail "$1: the installer folder stays: $(find "$SETUP_DIR" | sed "s|^$PF/||")"
  check_demo_removed
  # No folder of the package either (created folders are recorded too).
  [ ! -e "$PF/Kivra/Demo" ] && [ ! -e "$PF/Kivra/Gemeinsam" ] || fail "$1: folders left: $(find "$PF/Kivra")"
}

passed=0 failed=0
for point in $points; do
  if (check_point "$point"); then passed=$((passed + 1)); else failed=$((failed + 1)); fi
  # The runs' logs stay for the diagnosis.
  mkdir -p "$WORK/${point/:/-}" && cp "$LOGS"/*.log "$WORK/${point/:/-}/" 2>/dev/null
done
reset_machine
echo "hard kill: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
