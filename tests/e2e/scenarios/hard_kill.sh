#!/usr/bin/env bash
# The installer ended hard (TerminateProcess, as a crash or a power cut would)
# at points of an unattended installation of the demo medium and of its
# removal; the quiet removal from the staged installer then leaves nothing of
# the package, and the status file it found was whole.
#   KV_KILL_POINTS  files:N (N files of the package on the disk), register
#                   (the link class appears), remove:N (the removal has left
#                   N files); default: the quick sample of `make test`.
# Ends with "hard kill: N passed, M failed".
. "$(dirname "$0")/../lib.sh" "$1" hard_kill
points=${KV_KILL_POINTS:-files:2 register remove:3}
key='Kivra Demo_1.0'
installer='C:\Program Files\Kivra\Setup\KVSetup.exe'
app_win='C:\Program Files\Kivra\Demo'
medium=$(make_medium demo) || exit 1
install="\"$(winpath "$medium/setup.exe")\" /quiet /log \"$LOGS_WIN\\install.log\""
remove="\"$installer\" /quiet /log \"$LOGS_WIN\\LOG.log\" /uninstall -m \"$key\""

# Whole means it parses: groups close in the order they opened, Files last.
status_whole() {
  local f="$SETUP_DIR/Packages/$key/status.ini"
  [ -e "$f" ] || return 0
  tr -d '\r' <"$f" | awk '
    /^ *<[^\/].*>$/ { sub(/^ *</, ""); sub(/>$/, ""); stack[++n] = tolower($0); next }
    /^ *<\/.*>$/    { sub(/^ *<\//, ""); sub(/>$/, ""); if (n == 0 || stack[n] != tolower($0)) exit 1; last = stack[n--] }
    END { exit !(n == 0 && last == "files") }'
}

bare() { timeout 300 "$KV_WINE" "$DRIVER" "$@"; }  # no desktop: the runs show no window

# The run of POINT, ended there. (The driver writes to a file, not a pipe: a
# helper caught by the kill while starting keeps wine's output pipe open.)
kill_run() {
  local kind=${1%%:*} n=${1#*:} out="$WORK/kill.out"
  case $kind in
    files) bare run "$install" killwhen KVSetup.exe files "$app_win" "$n" 120 >"$out" ;;
    register) bare run "$install" killwhen KVSetup.exe key HKCR .kvsetuplink_KivraDemo_1_0 120 >"$out" ;;
    remove) unattended 0 "$install"
      bare run "${remove/LOG/kill}" killwhen KVSetup.exe fewer "$app_win" "$n" 120 >"$out" ;;
  esac || fail "$1: the run was not ended at its point"
  say "$1: $(tr -d '\r' <"$out")"
  # Under wine a helper whose start the kill interrupted (the registration
  # helper) never gets going; on Windows it would finish on its own.
  sleep 2
  kill_installers
}

check_point() {
  reset_machine
  mkdir -p "$LOGS"
  kill_run "$1"
  cp "$SETUP_DIR/Packages/$key/status.ini" "$LOGS/status-after-kill.log" 2>/dev/null
  status_whole || fail "$1: status.ini is torn"
  unattended 0 "${remove/LOG/remove}"
  for _ in $(seq 1 120); do [ -e "$SETUP_DIR" ] || break; sleep 0.5; done
  [ ! -e "$SETUP_DIR" ] || fail "$1: the installer folder stays: $(find "$SETUP_DIR")"
  check_demo_removed
  [ ! -e "$PF/Kivra/Demo" ] && [ ! -e "$PF/Kivra/Gemeinsam" ] || fail "$1: folders left: $(find "$PF/Kivra")"
}

passed=0 failed=0
for point in $points; do
  if (check_point "$point"); then passed=$((passed + 1)); else failed=$((failed + 1)); fi
  mkdir -p "$WORK/${point/:/-}" && cp "$LOGS"/*.log "$WORK/${point/:/-}/" 2>/dev/null  # for the diagnosis
done
reset_machine
echo "hard kill: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
