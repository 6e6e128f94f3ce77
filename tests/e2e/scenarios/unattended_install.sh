#!/usr/bin/env bash
# The demo medium without a person: bad switches and a missing source file
# end with their codes and leave nothing behind; a second installation while
# the wizard runs is refused; setup.exe /quiet installs what the wizard's
# default path installs; the uninstall entry's quiet form removes it all.
. "$(dirname "$0")/../lib.sh" "$1" unattended_install
reset_machine
medium=$(make_medium demo) || exit 1
mkdir -p "$LOGS"
setup=$(winpath "$medium/setup.exe")

unattended 87 "\"$setup\" /quiet /bogus /log \"$LOGS_WIN\\bad.log\""
need_log "$LOGS/bad.log" "Unbekannter Schalter: /bogus" "Exitcode: 87"
unattended 87 "\"$setup\" /quiet /log \"C:\\fehlt\\x.log\""
no_path "$SETUP_DIR"

# A source file missing from the medium: no safe answer, all rolled back.
broken="$WORK/medium-broken"
cp -r "$medium" "$broken" && rm "$broken/liesmich.txt"
unattended 1603 "\"$(winpath "$broken/setup.exe")\" /quiet /log \"$LOGS_WIN\\missing.log\""
need_log "$LOGS/missing.log" "Eine Quelldatei konnte nicht gefunden werden" "-> Antwort: Abbrechen" \
  "Abbruch: Eine Quelldatei konnte nicht gefunden werden" "Exitcode: 1603"
no_path "$PF/Kivra/Demo"
no_reg HKLM 'Software\Kivra\Setup\Packages\Kivra Demo_1.0'
# (The rollback removed the last package: the installer's folder goes too.)
for _ in $(seq 1 120); do [ -e "$SETUP_DIR" ] || break; sleep 0.5; done
no_path "$SETUP_DIR"

# The wizard holds the machine-wide guard: a second run is refused.
on_desktop "$setup"
drv wait frmStart 120 || fail "welcome page did not appear"
unattended 1618 "\"$setup\" /quiet /log \"$LOGS_WIN\\second.log\""
need_log "$LOGS/second.log" "andere Installation" "Exitcode: 1618"
drv click frmStart 211 none 60 || fail "the wizard did not end after Abbrechen"

reset_machine
mkdir -p "$LOGS"
unattended 0 "\"$setup\" /quiet /log \"$LOGS_WIN\\install.log\""
need_log "$LOGS/install.log" "Befehlszeile: /quiet /log" "Modus: ohne Fenster (/quiet)" \
  "Datei installiert: C:\\Program Files\\Kivra\\Demo\\demo.exe" \
  "Registrierung: Wert gesetzt HKLM\\Software\\Kivra\\Setup\\Packages\\Kivra Demo_1.0 \"Product\"" \
  "Makro: " "Seite Verknüpfungen: Startmenü ja, Desktop ja, Autostart nein" "Exitcode: 0"
check_demo_installed 0

# The uninstall entry's quiet form (with a log added).
unattended 0 "\"C:\\Program Files\\Kivra\\Setup\\KVSetup.exe\" /quiet /log \"$LOGS_WIN\\uninstall.log\" /uninstall -m \"Kivra Demo_1.0\""
need_log "$LOGS/uninstall.log" "Seite Wartung: deinstallieren" "Datei entfernt: C:\\Program Files\\Kivra\\Demo\\demo.exe" \
  "Registrierung: Schlüssel entfernt HKLM\\Software\\Kivra\\Setup\\Packages\\Kivra Demo_1.0" "Exitcode: 0"
check_demo_removed
say "ok"
