#!/usr/bin/env bash
# Runs a Windows program: tools/wine-run.sh PROGRAM ARGUMENTS. It shows windows on the display that is there, as windows of
# that desktop, or else on a virtual screen, and ends with the program's exit code. ORRIN_DLL_OVERRIDES adds to Wine's overrides ("opengl32=n,b" lets
# a program use an opengl32.dll beside it instead of Wine's). ORRIN_WINE_PREFIX names a prefix other than build/wine, which
# is made as Wine makes it: without the project's fonts, settings and DLLs, like a machine that has none of them.
# ORRIN_LIBRARY_PATH takes the place of the folder that DLLs are looked for in beside the program's own.
# ORRIN_GL_DRIVER names the driver of Mesa's that draws: llvmpipe (as without it), softpipe (OpenGL 3.3, so fixed functions
# only), zink (OpenGL over the machine's software Vulkan, of the package mesa-vulkan-drivers) or threaded (llvmpipe, its
# calls queued for a thread of the driver's own, as Mesa does for many cards).
# With ORRIN_HANG_SECONDS a program that takes longer leaves build/hang-PID.txt, which tells what its threads wait for.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
has_desktop=no
if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
    has_desktop=yes
fi
libraries=${ORRIN_LIBRARY_PATH-Z:$root/build/deps/bin}
if [ -n "${ORRIN_WINE_PREFIX:-}" ]; then
    prefix=$ORRIN_WINE_PREFIX libraries=
elif [ "${1:-}" = --as-is ]; then
    prefix=$2
    shift 2
elif [ $has_desktop = yes ]; then
    prefix=$root/build/wine-desktop
    "$root/tools/make-prefix.sh" --desktop >&2
else
    prefix=$root/build/wine
    "$root/tools/make-prefix.sh" >&2
fi

driver=${ORRIN_GL_DRIVER:-llvmpipe}
case $driver in
    llvmpipe | softpipe) export GALLIUM_DRIVER=$driver ;;
    threaded) export GALLIUM_DRIVER=llvmpipe mesa_glthread=true ;;
    zink)
        VK_ICD_FILENAMES=$(echo /usr/share/vulkan/icd.d/lvp_icd.*.json)
        [ -e "$VK_ICD_FILENAMES" ] || {
            echo "zink needs a software Vulkan: apt-get install mesa-vulkan-drivers libvulkan1" >&2
            exit 2
        }
        export GALLIUM_DRIVER=$driver VK_ICD_FILENAMES XDG_RUNTIME_DIR=${XDG_RUNTIME_DIR:-$prefix}
        ;;
    *)
        echo "ORRIN_GL_DRIVER is llvmpipe, softpipe, zink or threaded, not $driver" >&2
        exit 2
        ;;
esac

# Wine keeps quiet, except when a program cannot start because a DLL of it is missing.
export WINEPREFIX=$prefix WINEDEBUG=-all,err+module LIBGL_ALWAYS_SOFTWARE=1
export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe,winedbg.exe=${ORRIN_DLL_OVERRIDES:+;$ORRIN_DLL_OVERRIDES}"
# File names reach the program whole only when Wine reads them as UTF-8, which a bare machine's locale is not.
export LC_ALL=C.UTF-8
WINEPATH=$(printf '%s' "$libraries" | sed 's#/#\\#g')
export WINEPATH
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
wineserver=$(dirname "$(readlink -f "$wine")")/wineserver
screen=$prefix.screen # "DISPLAY PID" of the virtual screen, if there is one

# Runs at the same time share Wine's server and one virtual screen, and the last to leave stops both. Who comes or leaves
# holds the gate; who is inside holds the lock 'users' in common, so that taking it alone proves that nobody is left.
exec 7>"$prefix.gate" 8>"$prefix.users"

screen_runs() {
    local display pid
    [ -s "$screen" ] && read -r display pid <"$screen" &&
        [ "$(cat "/proc/$pid/comm" 2>/dev/null)" = Xvfb ] && export DISPLAY=$display
}

start_screen() {
    local pid
    : >"$screen.number"
    # The server tells its number once it accepts connections. It outlives this run when others still use it, and does not
    # begin anew when for a moment nobody does: that would throw out who comes just then.
    setsid Xvfb -displayfd 9 -screen 0 1920x1080x24 -nolisten tcp -noreset 9>"$screen.number" 7>&- 8>&- \
        </dev/null >/dev/null 2>&1 &
    pid=$!
    for _ in $(seq 400); do
        [ -s "$screen.number" ] && break
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.025
    done
    [ -s "$screen.number" ] || {
        echo "the virtual screen did not start" >&2
        exit 1
    }
    DISPLAY=:$(tr -d '[:space:]' <"$screen.number")
    export DISPLAY
    echo "$DISPLAY $pid" >"$screen"
}

# shellcheck disable=SC2317 # the trap calls it
leave() {
    flock 7
    flock -u 8
    if flock -n -x 8; then
        # Wine's own processes go first, lest they report a lost display.
        "$wineserver" -k 7>&- 8>&- >/dev/null 2>&1 || true
        if screen_runs; then
            kill "$(cut -d' ' -f2 "$screen")" 2>/dev/null || true
        fi
        rm -f "$screen" "$screen.number"
    fi
    exec 7>&- 8>&-
}

flock 7
if [ $has_desktop = no ]; then
    screen_runs || start_screen
fi
flock -s 8
trap leave EXIT
flock -u 7

status=0
if [ -n "${ORRIN_HANG_SECONDS:-}" ]; then
    (
        sleep "$ORRIN_HANG_SECONDS"
        # Nobody stops this while it sleeps: it goes by itself once the run is over.
        if kill -0 $$ 2>/dev/null; then
            "$root/tools/hang-dump.sh" "$WINEPREFIX" >"$root/build/hang-$$.txt"
        fi
    ) 7>&- 8>&- </dev/null >/dev/null 2>&1 &
fi
export ORRIN_HANG_DUMP=$root/tools/hang-dump.sh
"$wine" "$@" 7>&- 8>&- || status=$?
exit "$status"
