#!/usr/bin/env bash
# A fresh installation of the demo package from a medium started by
# setup.exe, through every page, with links in the start menu, on the desktop
# and started with Windows; then everything it should have left on the
# machine: staged data, index, uninstall entry, link class and proxies, App
# Paths, Run value, files and status. Saves a picture of every page.
. "$(dirname "$0")/../lib.sh" "$1" fresh_install
reset_machine
medium=$(make_medium demo) || exit 1
install_fresh "$medium" 1 1 1
say "wizard ended; checking the machine"

check_demo_installed 1
say "ok: $(ls "$SHOTS" | wc -l) pictures in $SHOTS"
