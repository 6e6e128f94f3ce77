#!/usr/bin/env bash
# make demo: builds what is missing (windows preset), lays out the demo
# package's medium with kvpack and runs its setup.exe.
#   With $DISPLAY: a real window on that display for you to click through.
#   Without: headless under a private Xvfb, clicked through along the default
#   path by the end-to-end driver; a picture of every page is saved.
# Either way a short summary of what was installed follows, and no wine or
# Xvfb process is left behind.
# KV_DEMO_BUILD names another build folder (default build/windows).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${KV_DEMO_BUILD:-$root/build/windows}
cd "$root"

echo "demo: building (windows preset) ..."
if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake --preset windows -B "$build" >/dev/null
fi
cmake --build "$build" -j "${JOBS:-2}" --target KVSetup setup kvpack kvdriver example_demo >/dev/null

export KV_BUILD_DIR=$build
headless=0
[ -z "${DISPLAY:-}" ] && headless=1
user_display=${DISPLAY:-}

stop_wine() { "$root/scripts/wine-session" stop "$build" >/dev/null 2>&1 || true; }
trap stop_wine EXIT
# The wine server (and, headless, a private Xvfb) for this build folder.
"$root/scripts/wine-session" start "$build" >/dev/null
. "$root/scripts/wine-env.sh"
shots=$build/demo-shots
export E2E_SHOTS=$shots
# The scenario helpers: driver, pictures, clean machine, medium.
. "$root/tests/e2e/lib.sh" "$build" demo
# (The helpers point DISPLAY to the private Xvfb; a person's screen wins.)
[ $headless -eq 0 ] && export DISPLAY=$user_display
reset_machine
medium=$(make_medium demo)
echo "demo: medium written to $medium"

if [ $headless -eq 1 ]; then
  echo "demo: no \$DISPLAY - installing headless under Xvfb along the default path"
  install_fresh "$medium" 1 1 1
  echo "demo: pictures of every page in $SHOTS"
  ls "$SHOTS" | sed 's/^/        /'
else
  echo "demo: starting setup.exe on $DISPLAY - click through the wizard"
  "$KV_WINE" "$(winpath "$medium/setup.exe")" </dev/null >/dev/null 2>&1 || true
  # setup.exe hands over to KVSetup.exe and ends: wait for the wizard.
  sleep 2
  while installers_running; do sleep 1; done
fi

echo
echo "=== what was installed ==="
if [ -n "$(find "$PF/Kivra" -type f 2>/dev/null | head -1)" ]; then
  echo "Files:"
  (cd "$C" && find "Program Files/Kivra" -type f -printf '  C:\\%p  (%s bytes)\n' | sed 's|/|\\|g' | sort)
  echo "Shortcuts (link proxies):"
  find "$C/users" "$C/ProgramData" -iname '*.kvsetuplink_*' -printf '  %P\n' 2>/dev/null | sort
else
  echo "Nothing under C:\\Program Files\\Kivra (the installation was cancelled or not started)."
fi
echo "Registry:"
show() {
  local v
  if v=$(reg reg "$1" "$2" "$3" 2>/dev/null); then echo "  $1\\$2 : ${3/@/(Standard)} = $v"; fi
}
key='Kivra Demo_1.0'
show HKLM "Software\\Kivra\\Setup\\Packages\\$key" Product
show HKLM "Software\\Kivra\\Setup\\Packages\\$key" Version
show HKLM "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - $key" DisplayName
show HKLM "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - $key" UninstallString
show HKCR ".kvsetuplink_KivraDemo_1_0" @
show HKCR "KivraSetup.Link.$key\\shell\\open\\command" @
show HKCR "KivraSetup.Link.$key\\shell\\Setup\\command" @
show HKLM 'Software\Microsoft\Windows\CurrentVersion\App Paths\demo.exe' @
show HKCU 'Software\Microsoft\Windows\CurrentVersion\Run' 'Kivra Demo'
show HKCU 'Software\Kivra\Demo' 'Begrüßung'
show HKCU 'Software\Kivra\Demo' 'Sprache'
status="$SETUP_DIR/Packages/$key/status.ini"
if [ -f "$status" ]; then
  echo "Status (${status#$C/}):"
  iconv -f cp1252 -t utf-8 "$status" | tr -d '\r' | sed 's/^/  /'
fi
kill_installers

echo
echo "=== unattended: what a deployment tool does ==="
reset_machine
mkdir -p "$LOGS"
# runs COMMAND with the driver (which reports the whole exit code) and shows
# the first lines of its log.
unattended_demo() {
  local title=$1 command=$2 log=$3 out
  out=$(timeout 300 "$KV_WINE" "$DRIVER" runwait "$command" | tr -d '\r')
  echo "$title"
  echo "  $command"
  echo "  exit code: ${out##*exit=}"
  echo "  log ($LOGS_WIN\\$log), first lines:"
  head -n 8 "$LOGS/$log" | tr -d '\r' | sed 's/^/    /'
}
unattended_demo "Install:" "\"$(winpath "$medium/setup.exe")\" /quiet /log \"$LOGS_WIN\\install.log\"" install.log
unattended_demo "Uninstall (the uninstall entry's quiet form, with a log):" \
  "\"C:\\Program Files\\Kivra\\Setup\\KVSetup.exe\" /quiet /log \"$LOGS_WIN\\uninstall.log\" /uninstall -m \"$key\"" \
  uninstall.log
kill_installers
