#!/usr/bin/env bash
# Maintenance started with -m from the staged copy: uninstall, confirm, the
# finish page in uninstall mode; afterwards nothing of the package is left,
# and once the installer has ended its own folder goes as well.
. "$(dirname "$0")/../lib.sh" "$1" maintenance_uninstall
reset_machine
medium=$(make_medium demo) || exit 1
# Installed from C:\Kivra-e2e\CD: a source folder whose name holds "tmp" or
# "temp" counts as a download, and the build folder may lie anywhere.
mkdir -p "$C/Kivra-e2e" && rm -rf "$C/Kivra-e2e/CD" && cp -r "$medium" "$C/Kivra-e2e/CD" && medium=$C/Kivra-e2e/CD
install_fresh "$medium" 1 1 1
key='Kivra Demo_1.0'
# The medium is gone: only the uninstall row is left, moved up and the default.
mv "$medium" "$medium.weg"
start_maintenance "$key"
shot frmMaintenance-uninstall-only
drv expect frmMaintenance 901 "Installation von Kivra Demo 1.0 tun möchten" enabled frmMaintenance 910 0 \
    expect frmMaintenance 907 "Für mehr Optionen legen Sie bitte die CD ein" || fail "lblChoose"
# (Message boxes are not pictured: under Xvfb their windows stay black.)
drv click frmMaintenance 913 box "Sind Sie sicher" 6 wait frmUninstall 10 || fail "uninstall question"
shot_now frmUninstall
drv wait frmFinished 120 || fail "finish page after the uninstallation"
drv expect frmFinished 800 "Die Deinstallation ist abgeschlossen." visible frmFinished 804 0 || fail "finish page texts"
shot frmFinished-uninstall
drv click frmFinished 810 none 60 || fail "the wizard did not end"

check_demo_removed
say "ok"
