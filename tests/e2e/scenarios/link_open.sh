#!/usr/bin/env bash
# The link class's Open command, run exactly as the registry holds it, starts
# the installed program and nothing else: the installer shows no window.
. "$(dirname "$0")/../lib.sh" "$1" link_open
reset_machine
medium=$(make_medium demo) || exit 1
install_fresh "$medium" 1 0 0
open=$(reg reg HKCR 'KivraSetup.Link.Kivra Demo_1.0\shell\open\command' @) || fail "no Open verb"
say "Open verb: $open"
# The installer's desktop may have ended with it: the command (split as the
# shell's Open would split it) starts on a desktop of its own.
eval "set -- $open"
on_desktop "$@"
drv waitwin KivraBeispiel 60 || fail "the program did not start"
shot program
drv nobox 2 || fail "a message box appeared"
if drv list | grep -q 'KVSetup\.'; then fail "the installer showed a window"; fi
# The installer only launched the program and has ended by itself.
# (A loaded machine may need a while.)
for _ in $(seq 1 200); do prefix_process_running 'KVSetup\.exe -o' || break; sleep 0.3; done
prefix_process_running 'KVSetup\.exe -o' && fail "KVSetup.exe -o is still running"
drv closewin KivraBeispiel
say "ok"
