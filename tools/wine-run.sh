#!/usr/bin/env bash
# Runs a Windows program: tools/wine-run.sh PROGRAM ARGUMENTS. It shows windows on the display that is there, or else on a
# virtual screen. ORRIN_DLL_OVERRIDES adds to Wine's overrides ("opengl32=n,b" lets a program use an opengl32.dll beside
# it instead of Wine's).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
if [ "${1:-}" = --no-prefix ]; then
    shift
else
    "$root/tools/make-prefix.sh"
fi

export WINEPREFIX=$root/build/wine WINEDEBUG=-all LIBGL_ALWAYS_SOFTWARE=1
export WINEDLLOVERRIDES="mscoree,mshtml=${ORRIN_DLL_OVERRIDES:+;$ORRIN_DLL_OVERRIDES}"
WINEPATH=$(printf '%s' "Z:$root/build/deps/bin" | tr / '\\')
export WINEPATH
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)

if [ -n "${DISPLAY:-}" ]; then
    exec "$wine" "$@"
fi

# A server of our own on a free display; -displayfd tells the number once it accepts connections.
numbers=$(mktemp)
exec 8>"$numbers"
Xvfb -displayfd 8 -screen 0 1920x1080x24 -nolisten tcp >/dev/null 2>&1 &
server=$!
exec 8>&-
stop_server() {
    # Wine's own processes leave first, so that they do not report a lost display.
    "${wine%wine64}wineserver" -k >/dev/null 2>&1 || true
    kill "$server" 2>/dev/null || true
    rm -f "$numbers"
}
trap stop_server EXIT
for _ in $(seq 200); do
    [ -s "$numbers" ] && break
    sleep 0.05
done
[ -s "$numbers" ] || {
    echo "the virtual screen did not start" >&2
    exit 1
}
DISPLAY=:$(tr -d '[:space:]' <"$numbers") "$wine" "$@"
