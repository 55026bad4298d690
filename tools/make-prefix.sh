#!/usr/bin/env bash
# Makes the Wine prefix build/wine: windows without a manager's frames, and the fonts that the tests and the viewer use,
# registered the way Windows registers fonts. One that was left half made is made anew.
source "$(dirname "$0")/common.sh"

prefix=$build/wine
mark=$prefix/ready-1
[ ! -e "$mark" ] || exit 0

exec 9>"$build/wine.lock"
flock 9
[ ! -e "$mark" ] || exit 0

liberation=/usr/share/fonts/truetype/liberation2/LiberationSans
dejavu=/usr/share/fonts/truetype/dejavu/DejaVuSans

# Without Managed=N, destroying a visible top-level window waits for a window manager that is not there.
write_settings() {
    cat <<'SETTINGS'
REGEDIT4

[HKEY_CURRENT_USER\Software\Wine\X11 Driver]
"Managed"="N"

[HKEY_LOCAL_MACHINE\Software\Microsoft\Windows NT\CurrentVersion\Fonts]
"Arial (TrueType)"="arial.ttf"
"Arial Bold (TrueType)"="arialbd.ttf"
"Arial Italic (TrueType)"="ariali.ttf"
"Arial Bold Italic (TrueType)"="arialbi.ttf"
"DejaVu Sans (TrueType)"="DejaVuSans.ttf"
SETTINGS
}

make_prefix() {
    local fonts=$prefix/drive_c/windows/Fonts
    rm -rf "$prefix"
    "$root/tools/wine-run.sh" --no-prefix wineboot -i 9>&-
    mkdir -p "$fonts"
    cp "$liberation-Regular.ttf" "$fonts/arial.ttf"
    cp "$liberation-Bold.ttf" "$fonts/arialbd.ttf"
    cp "$liberation-Italic.ttf" "$fonts/ariali.ttf"
    cp "$liberation-BoldItalic.ttf" "$fonts/arialbi.ttf"
    cp "$dejavu.ttf" "$fonts/DejaVuSans.ttf"
    write_settings >"$prefix/drive_c/settings.reg"
    "$root/tools/wine-run.sh" --no-prefix regedit /S 'C:\settings.reg' 9>&-
    touch "$mark"
}

step wine-prefix "Making the Wine prefix" make_prefix
