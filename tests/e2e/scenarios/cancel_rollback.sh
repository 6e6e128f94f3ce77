#!/usr/bin/env bash
# The path page refuses bad folders with its messages; then the installation
# is cancelled while the files are copied and rolled back: nothing is left.
. "$(dirname "$0")/../lib.sh" "$1" cancel_rollback
reset_machine
medium=$(make_medium demo) || exit 1
mkdir -p "$C/Kivra-e2e/vorhanden" && echo x > "$C/Kivra-e2e/datei"
on_desktop "$(winpath "$medium/setup.exe")"
drv wait frmStart 120 || fail "welcome page"
shot frmStart
drv click frmStart 210 wait frmPath 30 || fail "path page"
drv settext frmPath 302 'Programme\Demo' click frmPath 310 box "kompletten Pfad (inklusive Laufwerksbuchstaben)" 1 \
  || fail "relative path accepted"
drv settext frmPath 302 ' c:\ ' click frmPath 310 box "nicht direkt in den Basisordner" 1 expect frmPath 302 'c:' \
  || fail "drive root accepted"
drv settext frmPath 302 'C:\Kivra-e2e\datei' click frmPath 310 box "ist der Pfad einer Datei" 1 || fail "file accepted"
drv settext frmPath 302 'C:\Kivra-e2e\vorhanden' click frmPath 310 box "existiert bereits" 7 wait frmPath 5 \
  || fail "existing folder without question"
shot frmPath-refused
drv settext frmPath 302 'C:\Kivra-e2e\Ziel\' click frmPath 310 wait frmEULA 30 || fail "good path refused"
shot frmEULA
[ -d "$C/Kivra-e2e/Ziel" ] || fail "the path page did not create the folder"
# Press the progress page's "Abbrechen" as soon as the first file has arrived
# (one driver for all of it: the whole run takes about a second): the request
# is handled between two files, the run stops there with the bar past its start.
drv click frmEULA 710 wait frmInstalling 30 waitfile 'C:\Kivra-e2e\Ziel\demo.exe' 30 click frmInstalling 510 \
    moving frmInstalling 501 || fail "cancelling from the progress page"
shot frmInstalling-cancel
drv box "Es wurden bereits Dateien installiert" 6 60 || fail "rollback question"
drv none 120 || fail "the wizard did not end after the rollback"
no_path "$C/Kivra-e2e/Ziel"
check_demo_removed
say "ok"
