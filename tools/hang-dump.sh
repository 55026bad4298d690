#!/usr/bin/env bash
# Prints what every thread of the programs of one Wine prefix waits for: tools/hang-dump.sh [PREFIX]. For a run that does
# not end; the programs go on. With gdb there are stacks too.
set -u

prefix=${1:-${WINEPREFIX:-}}
for process in /proc/[0-9]*; do
    pid=${process#/proc/}
    [ "$pid" != $$ ] || continue
    tr '\0' '\n' 2>/dev/null <"$process/environ" | grep -qxF "WINEPREFIX=$prefix" || continue
    printf '== %s: %s\n' "$pid" "$(tr '\0' ' ' 2>/dev/null <"$process/cmdline")"
    for task in "$process"/task/[0-9]*; do
        printf '%s %s, %s, wchan %s, syscall %s\n' "${task##*/}" "$(cat "$task/comm" 2>/dev/null)" \
            "$(grep -m1 ^State: "$task/status" 2>/dev/null)" "$(cat "$task/wchan" 2>/dev/null)" \
            "$(cat "$task/syscall" 2>/dev/null)"
    done
    case $(tr '\0' ' ' 2>/dev/null <"$process/cmdline") in
        *.exe*)
            if command -v gdb >/dev/null; then
                timeout 60 gdb -p "$pid" -batch -ex 'set pagination off' -ex 'thread apply all backtrace 40' 2>/dev/null
            fi
            ;;
    esac
done
