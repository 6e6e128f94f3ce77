#!/usr/bin/env bash
# Version 1.0 installed, then the 2.0 medium: the other-version page offers
# the update, the path page keeps the old folder and 2.0 replaces 1.0 in the
# index and the list of installed software; settings marked DontOverwrite stay.
. "$(dirname "$0")/../lib.sh" "$1" update
reset_machine
m1=$(make_medium update-1.0) || exit 1
m2=$(make_medium update-2.0) || exit 1
install_fresh "$m1" 1 0 0
app="$PF/Kivra/Notizen"
need_file "$app/alt.txt"
echo "geändert" >> "$app/einstellungen.ini"
settings=$(md5sum < "$app/einstellungen.ini")
update_to_2() {
  on_desktop "$(winpath "$m2/setup.exe")"
  drv wait frmOtherInstalled 120 || fail "other-version page"
  drv expect frmOtherInstalled 600 "Ältere Version bereits installiert" visible frmOtherInstalled 610 1 \
    || fail "other-version page texts"
  shot frmOtherInstalled
  drv click frmOtherInstalled 610 wait frmPath 30 expect frmPath 302 'C:\Program Files\Kivra\Notizen' \
      enabled frmPath 303 0 \
      expect frmPath 300 "Die Installation von Kivra Notizen 2.0 kann nun beginnen. Unten sehen Sie den Pfad, in dem das Programm installiert wird (der Pfad, in dem die bisherige Version installiert ist)." \
    || fail "path page of the update"
  shot frmPath-update
  drv click frmPath 310 wait frmEULA 30 || fail "licence page"
  shot frmEULA-update
  # The old version goes first; the page (at least half a second on screen)
  # does not name the package during an update.
  drv click frmEULA 710 wait frmUninstall 20 \
      expect frmUninstall 1000 "Nicht mehr benötigte Dateien der alten Version werden entfernt..." \
    || fail "uninstall page of the update"
  shot_now frmUninstall-update
}
update_to_2
set_package_texts "$m2"
finish_install 1 0 0
cmp -s "$m2/notizen.exe" "$app/notizen.exe" || fail "notizen.exe is not version 2.0"
need_file "$app/neu.txt"
[ "$(md5sum < "$app/einstellungen.ini")" = "$settings" ] || fail "settings were overwritten"
no_reg HKLM 'Software\Kivra\Setup\Packages\Kivra Notizen_1.0'
need_reg HKLM 'Software\Kivra\Setup\Packages\Kivra Notizen_2.0' Product
no_reg HKLM 'Software\Microsoft\Windows\CurrentVersion\Uninstall\Kivra Setup - Kivra Notizen_1.0'
need_reg HKLM 'Software\Microsoft\Windows\CurrentVersion\Uninstall\Kivra Setup - Kivra Notizen_2.0' UninstallString
[ "$(reg reg HKCU 'Software\Kivra\Notizen' 'Vorgänger')" = "1.0" ] || fail "onuninstallatupdate macro"
no_path "$SETUP_DIR/Packages/Kivra Notizen_1.0"
# The 1.0 medium once more: a newer version is installed, no update offered.
on_desktop "$(winpath "$m1/setup.exe")"
drv wait frmOtherInstalled 120 expect frmOtherInstalled 600 "Neuere Version bereits installiert" \
    visible frmOtherInstalled 610 0 || fail "newer-version page"
shot frmOtherInstalled-newer
drv close frmOtherInstalled none 60 || fail "the wizard did not end from the newer-version page"
say "ok"
