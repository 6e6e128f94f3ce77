#!/usr/bin/env bash
# The demo package as one downloaded setup.exe: a flipped byte ends with the
# damage message and no change; a cancel and an installation leave no
# unpacked folder behind; the installation equals the folder medium's (files,
# registry, status.ini apart from SourcePath, which names the download);
# /quiet through the download returns the engine's exit codes; the manifest
# for package managers carries the download's SHA-256.
. "$(dirname "$0")/../lib.sh" "$1" onefile
reset_machine
medium=$(make_medium demo) || exit 1
download="$WORK/Downloads/Kivra Demo Setup.exe"
timeout 300 "$KV_WINE" "$E2E_BUILD/tools/kvpack.exe" build "$(winpath "$E2E_SRC/examples/demo/setup.ini")" \
  --source "$(winpath "$E2E_BUILD/examples/demo")" --out "$(winpath "$download")" --single-file \
  >"$WORK/kvpack-onefile.log" 2>&1 || { cat "$WORK/kvpack-onefile.log" >&2; fail "kvpack build --single-file"; }

# The package manager's manifest hashes the download itself.
hash=$(sha256sum "$download" | cut -c1-64 | tr a-f A-F)
timeout 120 "$KV_WINE" "$E2E_BUILD/tools/kvpack.exe" manifest "$(winpath "$E2E_SRC/examples/demo/setup.ini")" \
  --installer-url https://kivra.example/demo/setup.exe --medium "$(winpath "$download")" 2>&1 | tr -d '\r' \
  | grep -qxF "  InstallerSha256: $hash" || fail "kvpack manifest --medium does not give the download's SHA-256"

unpacked() { find "$C/users" -maxdepth 6 -type d -name 'KVSetup-*' 2>/dev/null; }
# What an installation of the demo leaves: files with their digests, link
# proxies, registry, status.ini without its SourcePath.
snapshot() {
  (cd "$PF" && find . -type f ! -name status.ini -print0 | sort -z | xargs -0 md5sum)
  find "$C/users" "$C/ProgramData" -iname '*.kvsetuplink_*' | sed "s|^$C||" | sort
  status_ini 'Kivra Demo_1.0' | grep -vi '^ *SourcePath'
  local key
  for key in 'HKLM\Software\Kivra' 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\Kivra Setup - Kivra Demo_1.0' \
             'HKCR\.kvsetuplink_KivraDemo_1_0'; do
    timeout 60 "$KV_WINE" reg export "$key" 'C:\kv-export.reg' /y >/dev/null 2>&1 || echo "no key $key"
    iconv -f utf-16 -t utf-8 "$C/kv-export.reg" 2>/dev/null | tr -d '\r' | grep -v '^Windows Registry'
    rm -f "$C/kv-export.reg"
  done
}

install_fresh "$medium"
installers_ended
snapshot >"$WORK/folder.snap"
grep -q 'kvkomp.dll' "$WORK/folder.snap" || fail "the folder installation is incomplete"

# One flipped byte in the middle of the payload.
reset_machine
bad="$WORK/Downloads/damaged.exe"
cp "$download" "$bad"
middle=$(( $(stat -c %s "$bad") - 200000 ))
byte=$(od -An -tu1 -j "$middle" -N1 "$bad" | tr -d ' ')
printf "$(printf '\\%03o' $(( byte ^ 1 )))" | dd of="$bad" bs=1 seek="$middle" conv=notrunc status=none
on_desktop "$(winpath "$bad")"
drv box "ist beschädigt oder unvollständig" 1 60 || fail "no damage message"
installers_ended
no_path "$PF/Kivra"
no_reg HKLM 'Software\Kivra\Setup\Packages\Kivra Demo_1.0'
[ -z "$(unpacked)" ] || fail "unpacked folder after the damage message: $(unpacked)"

# Cancelled on the welcome page: rolled back, nothing unpacked is left.
on_desktop "$(winpath "$download")"
drv wait frmStart 120 || fail "welcome page from the one-file medium"
[ -n "$(unpacked)" ] || fail "no private folder while the installer runs"
drv click frmStart 211 none 60 || fail "the wizard did not end after the cancel"
installers_ended
[ -z "$(unpacked)" ] || fail "unpacked folder after the cancel: $(unpacked)"

reset_machine
install_fresh "$download"
installers_ended
[ -z "$(unpacked)" ] || fail "unpacked folder after the installation: $(unpacked)"
snapshot >"$WORK/onefile.snap"
diff -u "$WORK/folder.snap" "$WORK/onefile.snap" >&2 || fail "the one-file medium installed something else"
status_ini 'Kivra Demo_1.0' | grep -qiF "SourcePath=$(winpath "$download")" \
  || fail "SourcePath is not the downloaded file: $(status_ini 'Kivra Demo_1.0' | grep -i SourcePath)"

# Without a person: the damage ends with 1603 and a log line, a bad switch
# with 87, an installation with the engine's 0; no private folder is left.
reset_machine
mkdir -p "$LOGS"
unattended 1603 "\"$(winpath "$bad")\" /quiet /log \"$LOGS_WIN\\damaged.log\""
need_log "$LOGS/damaged.log" "ist beschädigt oder unvollständig" "Exitcode: 1603"
no_path "$PF/Kivra"
unattended 87 "\"$(winpath "$download")\" /quiet /bogus /log \"$LOGS_WIN\\bad.log\""
need_log "$LOGS/bad.log" "Unbekannter Schalter: /bogus" "Exitcode: 87"
unattended 0 "\"$(winpath "$download")\" /quiet /log \"$LOGS_WIN\\quiet.log\""
need_log "$LOGS/quiet.log" "Modus: ohne Fenster (/quiet)" "Exitcode: 0"
check_demo_installed 0
[ -z "$(unpacked)" ] || fail "unpacked folder after the quiet installation: $(unpacked)"
say "ok"
