#!/usr/bin/env bash
# The whole installation of the benchmark medium (2,000 files of 4 KB and 5
# of 20 MB) from a folder medium against the same from a one-file setup.exe,
# measured in one run through the wizard, and the one-file medium's
# compression ratio.
#   bench/onefile_bench.sh [windows build folder, default build/windows]
# Needs the windows build (setup, KVSetup, kvpack, kvdriver); starts and
# stops that folder's wine session.
# The 4 KB files are text from a small vocabulary; each 20 MB file is half
# random bytes (as in compressed resources) and half repeated records (as in
# tables and uninitialised data), so that neither ratio is flattered.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/windows}" && pwd)
"$root/scripts/wine-session" start "$build" >/dev/null
trap '"$root/scripts/wine-session" stop "$build" >/dev/null' EXIT
export KV_BUILD_DIR=$build
. "$root/scripts/wine-env.sh"
. "$root/tests/e2e/lib.sh" "$build" onefile_bench >/dev/null

pkg=$WORK/package
mkdir -p "$pkg/files/klein" "$pkg/files/gross"
python3 - "$pkg/files" <<'PY'
import os, random, sys
root = sys.argv[1]
rnd = random.Random(7)
words = ["Anlage", "Betrag", "Datum", "Konto", "Rechnung", "Kunde", "Summe", "Posten", "Menge", "Preis"]
for i in range(2000):
    text = " ".join(rnd.choice(words) + str(rnd.randrange(1000)) for _ in range(700)).encode()[:4096]
    open(os.path.join(root, "klein", "datei%04d.txt" % i), "wb").write(text)
record = bytes(range(64)) * 4
for i in range(5):
    with open(os.path.join(root, "gross", "block%d.bin" % i), "wb") as f:
        f.write(rnd.randbytes(10 << 20))
        f.write(record * ((10 << 20) // len(record)))
PY
{
  printf '<header>\r\n Name=Kivra Bench\r\n Caption=Kivra Bench 1.0\r\n Version=1.0\r\n'
  printf ' DefaultPath=*programs*\\Kivra\\Bench\r\n</header>\r\n<files>\r\n'
  for f in "$pkg"/files/klein/* "$pkg"/files/gross/*; do
    # The destination name defaults to the whole Name, and the version
    # functions do not make folders: each subfolder is named as the path.
    rel=${f#$pkg/files/}
    printf ' [file]\r\n  Name=%s\r\n  DestinationName=%s\r\n  DestinationPath=*appdir*\\%s\r\n [/file]\r\n' \
      "${rel//\//\\}" "${rel#*/}" "${rel%%/*}"
  done
  printf '</files>\r\n'
} >"$pkg/setup.ini"
printf 'Lizenz\r\n' >"$pkg/eula.txt"

kvpack() { timeout 900 "$KV_WINE" "$build/tools/kvpack.exe" build "$(winpath "$pkg/setup.ini")" --source "$(winpath "$pkg/files")" "$@"; }
kvpack --out "$(winpath "$WORK/medium")" --force >/dev/null
kvpack --out "$(winpath "$WORK/Bench Setup.exe")" --single-file --force | tr -d '\r'

# Welcome, path, licence, progress, finish; seconds from the start to the end
# of the last process (the one-file start removes its folder before it ends).
install_once() {
  reset_machine
  rm -rf "$PF/Kivra/Bench"
  local t0=$(date +%s.%N)
  on_desktop "$(winpath "$1")"
  drv wait frmStart 300 click frmStart 210 wait frmPath 60 click frmPath 310 wait frmEULA 60 \
      click frmEULA 710 wait frmFinished 1800 check frmFinished 804 0 click frmFinished 810 none 120 >/dev/null \
    || fail "the installation of $1 did not finish"
  installers_ended
  local t1=$(date +%s.%N)
  [ "$(find "$PF/Kivra/Bench" -type f | wc -l)" -eq 2005 ] || fail "not all files were installed from $1"
  echo "$t0 $t1" | awk '{ printf "%.2f", $2 - $1 }'
}

folder=$(install_once "$WORK/medium/setup.exe")
onefile=$(install_once "$WORK/Bench Setup.exe")
plain=$(du -sb "$pkg/files" | cut -f1)
size=$(stat -c %s "$WORK/Bench Setup.exe")
echo "onefile_bench: folder medium install ${folder} s, one-file install ${onefile} s," \
     "ratio $(echo "$onefile $folder" | awk '{ printf "%.2f", $1 / $2 }') (goal at most 1.5)"
echo "onefile_bench: package files ${plain} bytes, one-file setup.exe ${size} bytes" \
     "($(echo "$size $plain" | awk '{ printf "%.1f", 100 * $1 / $2 }') %)"
reset_machine
rm -rf "$WORK"
