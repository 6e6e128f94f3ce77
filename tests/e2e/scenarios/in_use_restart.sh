#!/usr/bin/env bash
# The program file is in use while 2.0 updates 1.0: the finish page offers
# the restart, the user restarts later himself, and the restart (wineboot -r)
# puts the new file in place.
. "$(dirname "$0")/../lib.sh" "$1" in_use_restart
reset_machine
m1=$(make_medium update-1.0) || exit 1
m2=$(make_medium update-2.0) || exit 1
install_fresh "$m1" 1 0 0
app="$PF/Kivra/Notizen"
hold_file 'C:\Program Files\Kivra\Notizen\notizen.exe'
marker=$HOLD_MARKER

on_desktop "$(winpath "$m2/setup.exe")"
drv wait frmOtherInstalled 120 || { touch "$marker"; fail "other-version page"; }
shot frmOtherInstalled
drv click frmOtherInstalled 610 wait frmPath 30 || { touch "$marker"; fail "path page"; }
shot frmPath
drv click frmPath 310 wait frmEULA 30 || { touch "$marker"; fail "licence page"; }
shot frmEULA
drv click frmEULA 710 wait frmLinks 180 || { touch "$marker"; fail "links page"; }
shot frmLinks
drv click frmLinks 410 wait frmFinished 30 || { touch "$marker"; fail "finish page"; }
drv expect frmFinished 800 "Die Installation ist fast abgeschlossen." visible frmFinished 802 1 \
    visible frmFinished 803 1 visible frmFinished 804 0 || { touch "$marker"; fail "restart offer"; }
shot frmFinished-restart
drv check frmFinished 802 0 check frmFinished 803 1 click frmFinished 810 none 60 \
  || { touch "$marker"; fail "closing with 'selbst neu starten'"; }
release_file
cmp -s "$m1/notizen.exe" "$app/notizen.exe" || fail "the file in use was replaced before the restart"
say "restarting the prefix"
timeout 300 "$KV_WINE" wineboot -r </dev/null >/dev/null 2>&1
cmp -s "$m2/notizen.exe" "$app/notizen.exe" || fail "the restart did not put version 2.0 in place"
leftover=$(find "$app" -maxdepth 1 -type f ! -name notizen.exe ! -name hilfe.txt ! -name neu.txt ! -name einstellungen.ini ! -name alt.txt)
[ -z "$leftover" ] || fail "temporary copies left: $leftover"
say "ok"
