#!/usr/bin/env bash
# The installation folder on a disk that fills up during the file phase (a
# small memory disk as drive K:): the unattended run meets the copy error,
# stops with 1603 and rolls back; nothing half written stays on the disk or
# on record. Needs the right to mount a small disk; without it the scenario
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
say "ok"
