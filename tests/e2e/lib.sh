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
  [ -n "${HOLD_MARKER:-}" ] && touch "$HOLD_MARKER"
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

# The Windows path of a Linux path; inside the prefix's drive C: as C:\...
winpath() {
  case "$1" in
    "$C"/*) echo "C:${1#"$C"}" | sed 's|/|\\|g' ;;
    *) echo "Z:$1" | sed 's|/|\\|g' ;;
  esac
}

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

# The caption of a medium's package, and whether it offers the start with
# Windows (a flag is true unless it is exactly NO; a missing one is NO).
caption_of() { iconv -f cp1252 -t utf-8 "$1/setup.ini" | tr -d '\r' | sed -n 's/^ *Caption=//p' | head -1; }
allows_winstart() { iconv -f cp1252 -t utf-8 "$1/setup.ini" | tr -d '\r' | grep -q '^ *AllowWinStart=' &&
  ! iconv -f cp1252 -t utf-8 "$1/setup.ini" | tr -d '\r' | grep -q '^ *AllowWinStart=NO$'; }

# install_fresh MEDIUM STARTMENU DESKTOP WINSTART (0/1 each)
# Clicks through a fresh installation from `medium` along the default path:
# welcome, path (default folder), licence, progress, links (as given), finish
# without starting the program; the pages' texts name the package. A picture
# of every page. Sets CAPTION and WINSTART_TEXT for finish_install. MEDIUM may
# also be a one-file setup.exe. With AS_USER=1 setup.exe starts with the
# unelevated token, as a user's session starts it.
install_fresh() {
  local medium=$1 start=$1/setup.exe
  local startmenu=${2:-1} desktop=${3:-1} winstart=${4:-1}
  # A one-file setup.exe keeps the texts of the folder medium read before.
  if [ -f "$medium" ]; then start=$medium; else set_package_texts "$medium"; fi
  if [ "${AS_USER:-0}" = 1 ]; then
    on_desktop "$(winpath "$DRIVER")" --desktop "$DESK" runlimited "\"$(winpath "$start")\""
  else
    on_desktop "$(winpath "$start")"
  fi
  drv wait frmStart 120 || fail "welcome page did not appear"
  drv expect frmStart 201 "Zunächst möchten wir uns dafür bedanken, dass Sie sich für $CAPTION entschieden haben. Wir hoffen und sind davon überzeugt, dass Sie viel Freude an diesem Produkt aus unserem Hause haben werden." \
      expect frmStart 203 "um mit der Installation von $CAPTION zu beginnen." || fail "welcome page texts"
  shot frmStart
  drv click frmStart 210 wait frmPath 30 \
      expect frmPath 300 "Die Installation von $CAPTION kann nun beginnen. Wenn Sie wünschen, können Sie unten den Pfad ändern, in dem das Programm installiert werden soll." \
    || fail "path page"
  shot frmPath
  drv click frmPath 310 wait frmEULA 30 || fail "licence page"
  shot frmEULA
  drv click frmEULA 710 wait frmInstalling 30 || fail "progress page"
  shot frmInstalling
  finish_install "$startmenu" "$desktop" "$winstart"
}

set_package_texts() {
  CAPTION=$(caption_of "$1")
  WINSTART_TEXT=.
  if allows_winstart "$1"; then WINSTART_TEXT=" sowie ob das Programm immer beim Start von Windows gestartet werden soll."; fi
}

# From the progress page to the end: links page (when the package has a
# program), finish page without starting the program (START_PROGRAM=1: with).
finish_install() {
  local startmenu=$1 desktop=$2 winstart=$3
  drv wait frmLinks 180 \
      expect frmLinks 401 "Bitte legen Sie fest, ob Sie im Startmenü und/oder auf dem Desktop eine Verknüpfung zu $CAPTION erstellen möchten$WINSTART_TEXT" \
    || fail "links page"
  shot frmLinks
  drv check frmLinks 404 "$startmenu" check frmLinks 405 "$desktop" check frmLinks 406 "$winstart" \
      click frmLinks 410 wait frmFinished 30 expect frmFinished 800 "Die Installation ist abgeschlossen." \
      expect frmFinished 801 "Wir wünschen Ihnen viel Vergnügen mit $CAPTION und hoffen" || fail "finish page"
  shot frmFinished
  drv check frmFinished 804 "${START_PROGRAM:-0}" click frmFinished 810 none 60 || fail "the wizard did not end"
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

# check_demo_installed WINSTART (0/1): everything a fresh installation of the
# demo medium along the default path (links in the start menu and on the
# desktop) leaves on the machine: files, staged data, index, uninstall entry,
# link class and proxies, App Paths, the Run value as chosen, the macros'
# values and status.ini.
check_demo_installed() {
  key='Kivra Demo_1.0'
  app="$PF/Kivra/Demo"
  for f in demo.exe liesmich.txt kvkomp.dll kvdemo.tlb Schriften/KivraDemo.ttf; do
    need_file "$app/$f"
  done
  # The oninstall macro's copy of the read-me.
  [ -n "$(find "$app" -name 'Übersicht.txt')" ] || fail "the oninstall macro did not copy liesmich.txt"
  need_file "$PF/Kivra/Gemeinsam/kvgemein.dll"
  cmp -s "$medium/demo.exe" "$app/demo.exe" || fail "demo.exe differs from the medium's copy"

  # Staged installer and package data.
  need_file "$SETUP_DIR/KVSetup.exe"
  need_file "$SETUP_DIR/dllregsv.exe"
  for f in setup.ini eula.txt status.ini; do need_file "$SETUP_DIR/Packages/$key/$f"; done
  cmp -s "$medium/setup.ini" "$SETUP_DIR/Packages/$key/setup.ini" || fail "staged setup.ini differs"

  # Package index and uninstall entry.
  [ "$(reg reg HKLM "Software\\Kivra\\Setup\\Packages\\$key" Product)" = "Kivra Demo" ] || fail "index Product"
  [ "$(reg reg HKLM "Software\\Kivra\\Setup\\Packages\\$key" Version)" = "1.0" ] || fail "index Version"
  un="Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - $key"
  [ "$(reg reg HKLM "$un" UninstallString)" = "\"C:\\Program Files\\Kivra\\Setup\\KVSetup.exe\" -m \"$key\"" ] \
    || fail "UninstallString: $(reg reg HKLM "$un" UninstallString)"
  [ "$(reg reg HKLM "$un" DisplayName)" = "Kivra Demo 1.0 (Version 1.0)" ] || fail "DisplayName"
  [ "$(reg reg HKLM "$un" DisplayIcon)" = 'C:\Program Files\Kivra\Demo\demo.exe,0' ] || fail "DisplayIcon"
  # The demo names its Publisher: deployment tools find the quiet removal.
  [ "$(reg reg HKLM "$un" QuietUninstallString)" = "\"C:\\Program Files\\Kivra\\Setup\\KVSetup.exe\" /quiet /uninstall -m \"$key\"" ] \
    || fail "QuietUninstallString: $(reg reg HKLM "$un" QuietUninstallString)"
  [ "$(reg reg HKLM "$un" Publisher)" = "Kivra Software" ] || fail "Publisher"
  [ "$(reg reg HKLM "$un" DisplayVersion)" = "1.0" ] || fail "DisplayVersion"
  [ "$(reg reg HKLM "$un" InstallLocation)" = 'C:\Program Files\Kivra\Demo' ] || fail "InstallLocation"
  [ "$(reg reg HKLM "$un" NoRepair)" = 1 ] || fail "NoRepair"
  [ "$(reg reg HKLM "$un" EstimatedSize)" -gt 0 ] || fail "EstimatedSize"

  # Link class with its two verbs, and the proxies.
  ext=.kvsetuplink_KivraDemo_1_0
  class=$(reg reg HKCR "$ext" @) || fail "extension key $ext"
  [ "$class" = "KivraSetup.Link.$key" ] || fail "extension points to '$class'"
  open=$(reg reg HKCR "$class\\shell\\open\\command" @) || fail "Open verb"
  setup=$(reg reg HKCR "$class\\shell\\Setup\\command" @) || fail "Setup verb"
  installer='"C:\Program Files\Kivra\Setup\KVSetup.exe"'
  [ "$open" = "$installer -o \"C:\\Program Files\\Kivra\\Demo\\demo.exe\"" ] || fail "Open verb: $open"
  [ "$setup" = "$installer -m \"$key\"" ] || fail "Setup verb: $setup"
  [ "$(reg reg HKCR "$class" @)" = "Verknüpfung zu Kivra Demo 1.0" ] || fail "link class name"
  [ "$(reg reg HKCR "$class" InfoTip)" = "Startet das Kivra-Demoprogramm (Größe, Farben und Schriften)" ] || fail "InfoTip"
  [ "$(reg reg HKCR "$class\\DefaultIcon" @)" = 'C:\Program Files\Kivra\Demo\demo.exe' ] || fail "DefaultIcon"
  [ "$(reg reg HKCR "$class\\shell" @)" = Open ] || fail "default verb"
  menu=$(find "$C/users" -path "*Start Menu/Programs/Kivra/Kivra Demo 1.0$ext" | head -1)
  [ -n "$menu" ] && [ ! -s "$menu" ] || fail "start-menu proxy missing or not empty"
  desk=$(find "$C/users" -path "*/Desktop/Kivra Demo 1.0$ext" | head -1)
  [ -n "$desk" ] || fail "desktop proxy missing"

  # Application path and start with Windows.
  ap=$(reg reg HKLM 'Software\Microsoft\Windows\CurrentVersion\App Paths\demo.exe' @) || fail "App Paths"
  [ "$ap" = 'C:\Program Files\Kivra\Demo\demo.exe' ] || fail "App Paths default: $ap"
  [ "$(reg reg HKLM 'Software\Microsoft\Windows\CurrentVersion\App Paths\demo.exe' Path)" = 'C:\Program Files\Kivra\Demo' ] \
    || fail "App Paths Path"
  if [ "$1" = 1 ]; then
    run=$(reg reg HKCU 'Software\Microsoft\Windows\CurrentVersion\Run' 'Kivra Demo') || fail "Run value"
    [ "$run" = '"C:\Program Files\Kivra\Demo\demo.exe"' ] || fail "Run value: $run"
  else
    no_reg HKCU 'Software\Microsoft\Windows\CurrentVersion\Run' 'Kivra Demo'
  fi

  # The package's macros ran.
  [ "$(reg reg HKCU 'Software\Kivra\Demo' 'Begrüßung')" = "Grüß Gott" ] || fail "oninstall macro"
  [ "$(reg reg HKCU 'Software\Kivra\Demo' Sprache)" = "Deutsch" ] || fail "onfreshinstall macro"

  # Status: where from and where to, and every file installed.
  st=$(status_ini "$key")
  echo "$st" | grep -qi 'InstalledIn=C:\\Program Files\\Kivra\\Demo' || fail "status.ini lacks InstalledIn"
  n=$(echo "$st" | grep -ci 'Installed=[1-9]')
  [ "$n" -ge 6 ] || fail "status.ini records $n installed files"
}

# check_demo_removed: after the demo package's uninstallation nothing of it is
# left, and once the installer has ended its own folder goes as well.
check_demo_removed() {
  local key='Kivra Demo_1.0'
  # The self-delete helper removes the installer folder once the installer ended.
  for _ in $(seq 1 120); do [ -e "$SETUP_DIR" ] || break; sleep 0.5; done
  no_path "$SETUP_DIR"
  left=$(find "$PF/Kivra" -type f 2>/dev/null)
  [ -z "$left" ] || fail "files left: $left"
  no_reg HKLM "Software\\Kivra\\Setup\\Packages\\$key"
  no_reg HKLM "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - $key"
  no_reg HKCR .kvsetuplink_KivraDemo_1_0
  no_reg HKCR "KivraSetup.Link.$key"
  no_reg HKLM 'Software\Microsoft\Windows\CurrentVersion\App Paths\demo.exe'
  no_reg HKCU 'Software\Microsoft\Windows\CurrentVersion\Run' 'Kivra Demo'
  no_reg HKCU 'Software\Kivra\Demo'
  proxies=$(find "$C/users" "$C/ProgramData" -iname '*.kvsetuplink_*' 2>/dev/null)
  [ -z "$proxies" ] || fail "proxies left: $proxies"
}

# unattended EXPECTED COMMANDLINE: runs an administrator's command (no page,
# no click) to its end and checks the whole exit code.
unattended() {
  local expect=$1 out code
  out=$(timeout 300 "$KV_WINE" "$DRIVER" runwait "$2" | tr -d '\r')
  code=${out##*exit=}
  [ "$code" = "$expect" ] || fail "exit code '$code' instead of $expect: $2"
}
# need_log FILE TEXT...: the run log holds each TEXT on a time-stamped line.
need_log() {
  local file=$1 t
  shift
  [ -f "$file" ] || fail "no log $file"
  for t in "$@"; do
    grep -E '^[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:.]{12}  ' "$file" | grep -qF -- "$t" || fail "log ${file##*/} lacks: $t"
  done
}
# Everything of Kivra on the machine, as one fingerprint (files and keys).
machine_state() {
  { find "$PF/Kivra" -type f -printf '%P %s\n' 2>/dev/null | sort
    reg reg HKLM 'Software\Kivra\Setup\Packages\Kivra Notizen_2.0' Product 2>/dev/null
    reg reg HKLM 'Software\Kivra\Setup\Packages\Kivra Notizen_1.0' Product 2>/dev/null
    reg reg HKLM 'Software\Kivra\Setup\Packages\Kivra Demo_1.0' Product 2>/dev/null; } | md5sum
}
LOGS="$C/Kivra-e2e/logs"
LOGS_WIN='C:\Kivra-e2e\logs'

# hold_file WINPATH: keeps the file open without sharing (as a running
# program does) until release_file; $HOLD_MARKER releases it too.
hold_file() {
  HOLD_MARKER="$WORK/release"
  rm -f "$HOLD_MARKER"
  timeout 600 "$KV_WINE" "$DRIVER" hold "$1" "$(winpath "$HOLD_MARKER")" >"$WORK/hold.log" 2>&1 &
  HOLDER=$!
  for _ in $(seq 1 100); do grep -q holding "$WORK/hold.log" 2>/dev/null && break; sleep 0.1; done
  grep -q holding "$WORK/hold.log" || { touch "$HOLD_MARKER"; fail "cannot hold $1"; }
}
release_file() { touch "$HOLD_MARKER"; wait "$HOLDER"; }
