#!/usr/bin/env bash
# Runs a Windows program on a desktop of its own: tools/desk-run.sh PROGRAM ARGUMENTS. The desktop is a virtual screen with
# a window manager, whatever display there is, so that windows have frames, are focused, minimised and resized as people
# do that. Otherwise as tools/wine-run.sh.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
number=$(mktemp)
# The server tells its number once it accepts connections.
Xvfb -displayfd 9 -screen 0 1600x1000x24 -nolisten tcp 9>"$number" </dev/null >/dev/null 2>&1 &
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
for _ in $(seq 200); do
    xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && break
    sleep 0.025
done
"$root/tools/wine-run.sh" "$@"
