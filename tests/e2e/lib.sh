# Shared steps of the end-to-end scenarios. Sourced as
#   . lib.sh <build folder> <scenario name>
# The wine session of the build folder (wine server and private Xvfb) must be
# running; ctest's fixture starts it, scripts/demo.sh too.
set -u
E2E_SRC=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
E2E_BUILD=$(cd "$1" && pwd)
E2E_NAME=$2
export KV_BUILD_DIR=$E2E_BUILD
. "$E2E_SRC/scripts/wine-env.sh"
: "${DISPLAY:?the wine session of $E2E_BUILD is not running}"
export DISPLAY

DESK=kv_${E2E_NAME}_$$
SHOTS=${E2E_SHOTS:-$E2E_BUILD/e2e-shots}/$E2E_NAME
DRIVER=$E2E_BUILD/tests/e2e/kvdriver.exe
C=$WINEPREFIX/drive_c
PF="$C/Program Files"
SETUP_DIR="$PF/Kivra/Setup"
WORK=$E2E_BUILD/e2e-work/$E2E_NAME
shot_no=0
rm -rf "$SHOTS" "$WORK"
mkdir -p "$SHOTS" "$WORK"

say() { echo "[$E2E_NAME] $*"; }

# The driver on this scenario's desktop; bounded so that nothing hangs.
drv() { timeout 300 "$KV_WINE" "$DRIVER" --desktop "$DESK" "$@"; }
# The driver for registry steps (no desktop needed).
# (Windows programs end their lines with CR LF.)
reg() {
  local out rc try
  for try in 1 2 3; do
    out=$(timeout 120 "$KV_WINE" "$DRIVER" "$@")
    rc=$?
    # 0 and 1 are the driver's own verdicts (1 comes with its message); any
    # other code means it never got to a verdict (wine could not run it), so
    # the question is asked again rather than failing the scenario on it.
    [ $rc -le 1 ] && break
    echo "reg: the driver ended with code $rc (try $try)" >&2
  done
  [ -n "$out" ] && printf '%s\n' "$out" | tr -d '\r'
  return $rc
}

# A picture of the virtual desktop: the whole 800x600 screen of the wizard.
shot() {
  shot_no=$((shot_no + 1))
  sleep 0.4
  xwd -root -silent -display "$DISPLAY" 2>/dev/null | /usr/bin/convert xwd:- -crop 800x600+0+0 +repage \
    "$SHOTS/$(printf %02d $shot_no)-$1.png" 2>/dev/null || true
}

# Ends installer processes left in this build's prefix (a failed scenario
# leaves its wizard open; it would hold the installer folder). Only processes
# whose environment names this prefix are touched.
kill_installers() {
  local p
  for p in /proc/[0-9]*; do
    { tr '\0' ' ' <"$p/cmdline"; } 2>/dev/null | grep -qiE 'KVSetup\.exe|setup\.exe|DelKVStp\.exe|dllregsv\.exe' || continue
    { tr '\0' '\n' <"$p/environ"; } 2>/dev/null | grep -qxF "WINEPREFIX=$WINEPREFIX" || continue
    kill "${p#/proc/}" 2>/dev/null
  done
  return 0
}

# The same at once, for pages that stay only a moment.
shot_now() {
  shot_no=$((shot_no + 1))
  xwd -root -silent -display "$DISPLAY" 2>/dev/null | /usr/bin/convert xwd:- -crop 800x600+0+0 +repage \
    "$SHOTS/$(printf %02d $shot_no)-$1.png" 2>/dev/null || true
}

# Whether a process of this prefix whose command line matches the extended
# regular expression $1 (case ignored) is still running.
prefix_process_running() {
  local p
  for p in /proc/[0-9]*; do
    { tr '\0' ' ' <"$p/cmdline"; } 2>/dev/null | grep -qiE "$1" || continue
    { tr '\0' '\n' <"$p/environ"; } 2>/dev/null | grep -qxF "WINEPREFIX=$WINEPREFIX" && return 0
  done
  return 1
}

# Whether an installer process of this prefix is still running.
installers_running() { prefix_process_running 'KVSetup\.exe|setup\.exe'; }

fail() {
  echo "FAIL [$E2E_NAME]: $*" >&2
  shot failure
  timeout 30 "$KV_WINE" "$DRIVER" --desktop "$DESK" list 2>/dev/null | grep 'visible=1' >&2 || true
  timeout 30 "$KV_WINE" "$DRIVER" --desktop "$DESK" box - 0 1 >&2 2>/dev/null || true
  kill_installers
  exit 1
}

# Runs a Windows program on this scenario's virtual desktop (in the background).
on_desktop() {
  setsid "$KV_WINE" explorer "/desktop=$DESK,800x600" "$@" </dev/null >/dev/null 2>&1 &
}

winpath() { echo "Z:$1" | sed 's|/|\\|g'; }

need_file() { [ -f "$1" ] || fail "missing file: ${1#$C/}"; }
no_path() { [ ! -e "$1" ] || fail "still there: ${1#$C/}"; }
need_reg() { reg reg "$@" >/dev/null || fail "registry: $*"; }
no_reg() { reg noreg "$@" >/dev/null || fail "registry still holds: $*"; }

# The user's shell folders of a fresh prefix point into the host's home
# directory; the tests must not write there, so they become real folders.
own_shell_folders() {
  local u
  for u in "$C"/users/*; do
    for f in Desktop Documents Downloads Music Pictures Videos; do
      if [ -L "$u/$f" ]; then rm -f "$u/$f" && mkdir -p "$u/$f"; fi
    done
  done
}

# Removes every trace of earlier runs: installer folder, packages, their
# registry entries, proxies and the self-delete helper.
reset_machine() {
  kill_installers
  own_shell_folders
  rm -rf "$PF/Kivra" "$C/windows/DelKVStp.exe" "$C/Kivra-e2e"
  find "$C/users" "$C/ProgramData" -iname '*.kvsetuplink_*' -delete 2>/dev/null || true
  find "$C/users" "$C/ProgramData" -type d -path '*Programs/Kivra' -exec rm -rf {} + 2>/dev/null || true
  reg regdel HKLM 'Software\Kivra' \
      regdel HKCU 'Software\Kivra' \
      regdelprefix HKLM 'Software\Microsoft\Windows\CurrentVersion\Uninstall' 'Kivra Setup - ' \
      regdelprefix HKCR '' '.kvsetuplink_' \
      regdelprefix HKCR '' 'KivraSetup.Link.' \
      regdelprefix HKLM 'Software\Microsoft\Windows\CurrentVersion\App Paths' 'demo.exe' \
      regdelprefix HKLM 'Software\Microsoft\Windows\CurrentVersion\App Paths' 'notizen.exe' \
      regdelv HKCU 'Software\Microsoft\Windows\CurrentVersion\Run' 'Kivra Demo' \
      regdelv HKCU 'Software\Microsoft\Windows\CurrentVersion\Run' 'Kivra Notizen' \
      regdelv HKLM 'Software\Microsoft\Windows\CurrentVersion\SharedDLLs' 'C:\Program Files\Kivra\Gemeinsam\kvgemein.dll' \
    || fail "cannot reset the machine"
}

# kvpack builds the medium of an example package into $WORK/<name>.
make_medium() {
  local pkg=$1 out="$WORK/medium-$1"
  [ -d "$E2E_BUILD/examples/$pkg" ] || fail "example package $pkg is not built (target example_$pkg)"
  timeout 120 "$KV_WINE" "$E2E_BUILD/tools/kvpack.exe" build "$(winpath "$E2E_SRC/examples/$pkg/setup.ini")" \
    --source "$(winpath "$E2E_BUILD/examples/$pkg")" --out "$(winpath "$out")" >"$WORK/kvpack-$pkg.log" 2>&1 \
    || { cat "$WORK/kvpack-$pkg.log" >&2; fail "kvpack build $pkg"; }
  echo "$out"
}

# install_fresh MEDIUM STARTMENU DESKTOP WINSTART (0/1 each)
# Clicks through a fresh installation from `medium` along the default path:
# welcome, path (default folder), licence, progress, links (as given), finish
# without starting the program. A picture of every page.
# MEDIUM may also be a one-file setup.exe.
install_fresh() {
  local medium=$1 start=$1/setup.exe
  local startmenu=${2:-1} desktop=${3:-1} winstart=${4:-1}
  [ -f "$medium" ] && start=$medium
  on_desktop "$(winpath "$start")"
  drv wait frmStart 120 || fail "welcome page did not appear"
  shot frmStart
  drv click frmStart 210 wait frmPath 30 || fail "path page"
  shot frmPath
  drv click frmPath 310 wait frmEULA 30 || fail "licence page"
  shot frmEULA
  drv click frmEULA 710 wait frmInstalling 30 || fail "progress page"
  shot frmInstalling
  finish_install "$startmenu" "$desktop" "$winstart"
}

# From the progress page to the end: links page (when the package has a
# program), finish page without starting the program.
finish_install() {
  local startmenu=$1 desktop=$2 winstart=$3
  drv wait frmLinks 180 || fail "links page"
  shot frmLinks
  drv check frmLinks 404 "$startmenu" check frmLinks 405 "$desktop" check frmLinks 406 "$winstart" \
      click frmLinks 410 wait frmFinished 30 || fail "finish page"
  shot frmFinished
  drv check frmFinished 804 0 click frmFinished 810 none 60 || fail "the wizard did not end"
}

# Starts the installer of the staged copy for maintenance.
start_maintenance() {
  on_desktop "C:\\Program Files\\Kivra\\Setup\\KVSetup.exe" -m "$1"
  drv wait frmMaintenance 120 || fail "maintenance page did not appear"
}

# Waits until no installer process of this prefix runs any more.
installers_ended() {
  local _
  for _ in $(seq 1 120); do installers_running || return 0; sleep 0.5; done
  fail "an installer process did not end"
}

status_ini() { iconv -f cp1252 -t utf-8 "$SETUP_DIR/Packages/$1/status.ini" 2>/dev/null; }
