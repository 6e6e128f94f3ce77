#!/usr/bin/env bash
# Update 1.0 -> 2.0 without a person while the program file is in use: 3010
# with /norestart and the rename at restart recorded; then the older medium
# again: 1638 and nothing changed.
. "$(dirname "$0")/../lib.sh" "$1" unattended_update
reset_machine
m1=$(make_medium update-1.0) || exit 1
m2=$(make_medium update-2.0) || exit 1
mkdir -p "$LOGS"
app="$PF/Kivra/Notizen"
unattended 0 "\"$(winpath "$m1/setup.exe")\" /quiet /log \"$LOGS_WIN\\v1.log\""
need_file "$app/alt.txt"

hold_file 'C:\Program Files\Kivra\Notizen\notizen.exe'
unattended 3010 "\"$(winpath "$m2/setup.exe")\" /quiet /norestart /log \"$LOGS_WIN\\v2.log\""
release_file
need_log "$LOGS/v2.log" "Seite Andere Version: ältere Version wird aktualisiert" \
  "Datei ausstehend bis zum Neustart: C:\\Program Files\\Kivra\\Notizen\\notizen.exe" \
  "Neustart erforderlich: kein Neustart ohne /forcerestart" "Exitcode: 3010"
pending=$(reg reg HKLM 'System\CurrentControlSet\Control\Session Manager' PendingFileRenameOperations) \
  || fail "no rename at restart recorded"
case "$pending" in *[Nn]otizen*) ;; *) fail "pending renames: $pending" ;; esac
need_file "$app/neu.txt"
no_reg HKLM 'Software\Kivra\Setup\Packages\Kivra Notizen_1.0'
need_reg HKLM 'Software\Kivra\Setup\Packages\Kivra Notizen_2.0' Product
[ "$(reg reg HKCU 'Software\Kivra\Notizen' 'Vorgänger')" = "1.0" ] || fail "onuninstallatupdate macro"

before=$(machine_state)
unattended 1638 "\"$(winpath "$m1/setup.exe")\" /quiet /log \"$LOGS_WIN\\older.log\""
need_log "$LOGS/older.log" "neuere Version" "Exitcode: 1638"
[ "$(machine_state)" = "$before" ] || fail "the refused older version changed the machine"
no_path "$SETUP_DIR/Packages/Kivra Notizen_1.0"
say "ok"
