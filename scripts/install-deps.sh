#!/usr/bin/env bash
# Installs what a fresh Debian machine lacks for building and testing.
# Quiet, and only when something is missing: a warm machine pays nothing.
set -euo pipefail

need=()
have_pkg() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"; }
for pkg in cmake ninja-build g++ mingw-w64 mingw-w64-tools wine64 xvfb x11-apps \
           imagemagick googletest clang libclang-rt-14-dev fonts-dejavu-core fonts-wine; do
  have_pkg "$pkg" || need+=("$pkg")
done
# wine64 alone has no 'wine' launcher on some releases; the 'wine' package adds it.
command -v wine >/dev/null 2>&1 || have_pkg wine || need+=(wine)

if [ ${#need[@]} -eq 0 ]; then
  exit 0
fi
if [ "$(id -u)" -ne 0 ]; then
  echo "install-deps: missing packages: ${need[*]} (run as root or install them)" >&2
  exit 1
fi
echo "install-deps: installing ${need[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq </dev/null >/dev/null
apt-get install -y -qq --no-install-recommends "${need[@]}" </dev/null >/dev/null
