#!/usr/bin/env bash
# Repair from the maintenance page: straight to the licence page, then every
# installed file again - a deleted one comes back.
. "$(dirname "$0")/../lib.sh" "$1" repair
reset_machine
medium=$(make_medium demo) || exit 1
install_fresh "$medium" 1 0 0
app="$PF/Kivra/Demo"
rm -f "$app/liesmich.txt" "$app/kvkomp.dll"
start_maintenance 'Kivra Demo_1.0'
shot frmMaintenance
drv click frmMaintenance 911 wait frmEULA 30 || fail "repair goes to the licence page"
shot frmEULA-repair
drv click frmEULA 710 || fail "licence"
finish_install 1 0 0
need_file "$app/liesmich.txt"
need_file "$app/kvkomp.dll"
cmp -s "$medium/liesmich.txt" "$app/liesmich.txt" || fail "liesmich.txt differs"
need_reg HKLM 'Software\Kivra\Setup\Packages\Kivra Demo_1.0' Product
say "ok"
