# Sourced by the wine scripts: one prefix and one X display per build folder.
# KV_BUILD_DIR is the build folder; the prefix lives inside it.
: "${KV_BUILD_DIR:?KV_BUILD_DIR must name the build folder}"
export WINEPREFIX="$KV_BUILD_DIR/wineprefix"
export WINEDEBUG=-all
export WINEARCH=win64
# Keep wine from offering to install Mono/Gecko on a fresh prefix.
# A crashing test must fail, not wait in the crash debugger.
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d;winedbg.exe=d"
KV_WINE=$(command -v wine64 || command -v wine || echo /usr/lib/wine/wine64)
KV_WINESERVER=$(command -v wineserver || echo /usr/lib/wine/wineserver)
[ -x "$KV_WINESERVER" ] || KV_WINESERVER=/usr/lib/wine/wineserver
KV_STATE_DIR="$KV_BUILD_DIR/wine-session"
if [ -f "$KV_STATE_DIR/display" ]; then
  export DISPLAY=$(cat "$KV_STATE_DIR/display")
fi
