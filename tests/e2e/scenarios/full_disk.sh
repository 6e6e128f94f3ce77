#!/usr/bin/env bash
# The installation folder on a disk that fills up during the file phase (a
# small memory disk as drive K:): the unattended run meets the copy error,
# stops with 1603 and rolls back; nothing half written stays on the disk or
# on record. Then the wizard on the same disk, each copy error answered with
# Ignorieren: the package is installed without what did not fit, only whole
# files are on record, and the later removal leaves the disk empty. Needs the right to mount a small disk; without it the scenario
# says so and counts as skipped (exit 77).
. "$(dirname "$0")/../lib.sh" "$1" full_disk
reset_machine
mkdir -p "$LOGS"
medium=$(make_medium demo) || exit 1
disk="$WORK/disk"
mkdir -p "$disk"
# Room for the first files of the demo, not for its font.
mount -t tmpfs -o size=320k kvfull "$disk" 2>/dev/null || { say "skipped: cannot mount a small disk"; exit 77; }
trap 'rm -f "$WINEPREFIX/dosdevices/k:"; umount "$disk"' EXIT
ln -sfn "$disk" "$WINEPREFIX/dosdevices/k:"

unattended 1603 "\"$(winpath "$medium/setup.exe")\" /quiet /log \"$LOGS_WIN\\full.log\" /dir \"K:\\Demo\""
need_log "$LOGS/full.log" "Datei installiert: K:\\Demo\\demo.exe" "ist ein Fehler aufgetreten." \
  "-> Antwort: Abbrechen" "Exitcode: 1603"
left=$(find "$disk" -mindepth 1)
[ -z "$left" ] || fail "left on the full disk: $left"
no_path "$PF/Kivra/Gemeinsam"
no_reg HKLM 'Software\Kivra\Setup\Packages\Kivra Demo_1.0'
no_reg HKLM 'Software\Microsoft\Windows\CurrentVersion\Uninstall\Kivra Setup - Kivra Demo_1.0'

key='Kivra Demo_1.0'
set_package_texts "$medium"
on_desktop "$(winpath "$medium/setup.exe")"
drv wait frmStart 120 click frmStart 210 wait frmPath 30 settext frmPath 302 'K:\Demo' click frmPath 310 \
    wait frmEULA 30 click frmEULA 710 wait frmInstalling 30 || fail "wizard onto the full disk"
ignored=0 polls=0
while ! drv wait frmLinks 0 >/dev/null 2>&1; do
  polls=$((polls + 1))
  [ $polls -le 60 ] || fail "the wizard does not get past the full disk"
  box=$(drv box - 5 2 2>/dev/null) || continue
  case $box in *"Klicken Sie auf Ignorieren"*) ignored=$((ignored + 1)) ;; *) fail "unexpected box: $box" ;; esac
done
[ $ignored -gt 0 ] || fail "the disk did not fill up"
shot frmLinks
finish_install 0 0 0
# Only whole files: each file on the disk (the package's and what its macro
# copied) equals a file of the medium; each ignored copy is on record as not
# installed, so the removal looks for nothing that is not there.
while IFS= read -r f; do
  whole=0
  while IFS= read -r src; do cmp -s "$f" "$src" && whole=1; done < <(find "$medium" -type f -size "$(stat -c %s "$f")c")
  [ $whole = 1 ] || fail "not whole on the disk: ${f#$disk/}"
done < <(find "$disk" -type f)
records() { status_ini "$key" | tr -d '\r' | awk -v want="$1" '/^ *\[File\]/ { i = "" }
  /^ *Installed=/ { sub(/^ *Installed=/, ""); i = $0 } /^ *\[\/File\]/ { n += i == want } END { print n + 0 }'; }
[ "$(records 0)" = "$ignored" ] || fail "$ignored copies ignored, $(records 0) files on record as not installed"
installed=$(records 1)
[ "$installed" -gt 0 ] || fail "nothing on record of what fitted"
unattended 0 "\"C:\\Program Files\\Kivra\\Setup\\KVSetup.exe\" /quiet /uninstall -m \"$key\""
left=$(find "$disk" -mindepth 1)
[ -z "$left" ] || fail "left on the disk after the removal: $left"
no_reg HKLM "Software\\Kivra\\Setup\\Packages\\$key"
say "ok ($ignored copy errors ignored, $installed files installed)"
