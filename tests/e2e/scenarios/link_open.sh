#!/usr/bin/env bash
# The program started from the finish page runs as the user who started
# setup.exe, in its own folder; the link class's Open command, run exactly as
# the registry holds it, starts the installed program and nothing else: the
# installer shows no window.
. "$(dirname "$0")/../lib.sh" "$1" link_open
reset_machine
medium=$(make_medium demo) || exit 1
# setup.exe starts unelevated and asks for the rights; the process that asked
# starts the program. (Wine's consent gives no elevated token, so the whole
# run is unelevated here: that the asking setup.exe started the program is
# what shows the way it took.)
AS_USER=1 START_PROGRAM=1 install_fresh "$medium" 1 0 0
drv waitwin KivraBeispiel 60 || fail "the finish page did not start the program"
started='Software\Kivra\Beispiele\Start'
[ "$(reg reg HKCU "$started" Ordner)" = 'C:\Program Files\Kivra\Demo' ] \
  || fail "the program's working folder: $(reg reg HKCU "$started" Ordner)"
[ "$(reg reg HKCU "$started" Erhoeht)" = 0 ] || fail "the program runs elevated"
[ "$(reg reg HKCU "$started" Starter)" = setup.exe ] || fail "started by $(reg reg HKCU "$started" Starter)"
drv closewin KivraBeispiel
installers_ended
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
# (A loaded machine may need a while. The desktop's own explorer, which may
# outlive it, names the command too.)
launcher='^[^/]*KVSetup\.exe"? -o'
for _ in $(seq 1 200); do prefix_process_running "$launcher" || break; sleep 0.3; done
prefix_process_running "$launcher" && fail "KVSetup.exe -o is still running"
drv closewin KivraBeispiel
say "ok"
