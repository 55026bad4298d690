#!/usr/bin/env bash
# Runs a Windows program on a desktop of its own: tools/desk-run.sh PROGRAM ARGUMENTS. The desktop is a virtual screen with
# a window manager, whatever display there is, so that windows have frames, are focused, minimised and resized as people
# do that. Otherwise as tools/wine-run.sh.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
number=$(mktemp)
# The server tells its number once it accepts connections. It stays as it is when a client leaves that was alone, as the
# question for the window manager may be: a server that begins anew then throws out who comes in that moment.
Xvfb -displayfd 9 -screen 0 1600x1000x24 -nolisten tcp -noreset 9>"$number" </dev/null >/dev/null 2>&1 &
server=$!
manager=
leave() {
    [ -z "$manager" ] || kill "$manager" 2>/dev/null || true
    kill "$server" 2>/dev/null || true
    rm -f "$number"
}
trap leave EXIT
for _ in $(seq 400); do
    [ -s "$number" ] && break
    sleep 0.025
done
[ -s "$number" ] || {
    echo "the virtual screen did not start" >&2
    exit 1
}
DISPLAY=:$(tr -d '[:space:]' <"$number")
export DISPLAY
openbox --sm-disable </dev/null >/dev/null 2>&1 &
manager=$!
is_managed() { xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; }
for _ in $(seq 400); do
    is_managed && break
    sleep 0.025
done
is_managed || {
    echo "the window manager did not start" >&2
    exit 1
}
"$root/tools/wine-run.sh" "$@"
