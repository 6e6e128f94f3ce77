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

key='Kivra Demo_1.0'
app="$PF/Kivra/Demo"
for f in demo.exe liesmich.txt kvkomp.dll kvdemo.tlb Schriften/KivraDemo.ttf; do
  need_file "$app/$f"
done
# The oninstall macro's copy of the read-me.
[ -n "$(find "$app" -name 'Übersicht.txt')" ] || fail "the oninstall macro did not copy liesmich.txt"
need_file "$PF/Kivra/Gemeinsam/kvgemein.dll"
cmp -s "$medium/demo.exe" "$app/demo.exe" || fail "demo.exe differs from the medium's copy"

# Staged installer and package data.
need_file "$SETUP_DIR/KVSetup.exe"
need_file "$SETUP_DIR/dllregsv.exe"
for f in setup.ini eula.txt status.ini; do need_file "$SETUP_DIR/Packages/$key/$f"; done
cmp -s "$medium/setup.ini" "$SETUP_DIR/Packages/$key/setup.ini" || fail "staged setup.ini differs"

# Package index and uninstall entry.
[ "$(reg reg HKLM "Software\\Kivra\\Setup\\Packages\\$key" Product)" = "Kivra Demo" ] || fail "index Product"
[ "$(reg reg HKLM "Software\\Kivra\\Setup\\Packages\\$key" Version)" = "1.0" ] || fail "index Version"
un="Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - $key"
[ "$(reg reg HKLM "$un" UninstallString)" = "\"C:\\Program Files\\Kivra\\Setup\\KVSetup.exe\" -m \"$key\"" ] \
  || fail "UninstallString: $(reg reg HKLM "$un" UninstallString)"
# The demo names its Publisher: deployment tools find the quiet removal.
[ "$(reg reg HKLM "$un" QuietUninstallString)" = "\"C:\\Program Files\\Kivra\\Setup\\KVSetup.exe\" /quiet /uninstall -m \"$key\"" ] \
  || fail "QuietUninstallString: $(reg reg HKLM "$un" QuietUninstallString)"
[ "$(reg reg HKLM "$un" Publisher)" = "Kivra Software" ] || fail "Publisher"
need_reg HKLM "$un" DisplayName
need_reg HKLM "$un" DisplayIcon

# Link class with its two verbs, and the proxies.
ext=.kvsetuplink_KivraDemo_1_0
class=$(reg reg HKCR "$ext" @) || fail "extension key $ext"
[ "$class" = "KivraSetup.Link.$key" ] || fail "extension points to '$class'"
open=$(reg reg HKCR "$class\\shell\\open\\command" @) || fail "Open verb"
setup=$(reg reg HKCR "$class\\shell\\Setup\\command" @) || fail "Setup verb"
case "$open" in *'-o "'*demo.exe*) ;; *) fail "Open verb: $open" ;; esac
case "$setup" in *"-m \"$key\""*) ;; *) fail "Setup verb: $setup" ;; esac
menu=$(find "$C/users" -path "*Start Menu/Programs/Kivra/Kivra Demo 1.0$ext" | head -1)
[ -n "$menu" ] && [ ! -s "$menu" ] || fail "start-menu proxy missing or not empty"
desk=$(find "$C/users" -path "*/Desktop/Kivra Demo 1.0$ext" | head -1)
[ -n "$desk" ] || fail "desktop proxy missing"

# Application path and start with Windows.
ap=$(reg reg HKLM 'Software\Microsoft\Windows\CurrentVersion\App Paths\demo.exe' @) || fail "App Paths"
[ "$ap" = 'C:\Program Files\Kivra\Demo\demo.exe' ] || fail "App Paths default: $ap"
run=$(reg reg HKCU 'Software\Microsoft\Windows\CurrentVersion\Run' 'Kivra Demo') || fail "Run value"
[ "$run" = '"C:\Program Files\Kivra\Demo\demo.exe"' ] || fail "Run value: $run"

# The package's macros ran.
[ "$(reg reg HKCU 'Software\Kivra\Demo' 'Begrüßung')" = "Grüß Gott" ] || fail "oninstall macro"
[ "$(reg reg HKCU 'Software\Kivra\Demo' Sprache)" = "Deutsch" ] || fail "onfreshinstall macro"

# Status: where from and where to, and every file installed.
st=$(status_ini "$key")
echo "$st" | grep -qi 'InstalledIn=C:\\Program Files\\Kivra\\Demo' || fail "status.ini lacks InstalledIn"
n=$(echo "$st" | grep -ci 'Installed=[1-9]')
[ "$n" -ge 6 ] || fail "status.ini records $n installed files"
say "ok: $(ls "$SHOTS" | wc -l) pictures in $SHOTS"
