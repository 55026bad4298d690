#!/usr/bin/env bash
# Makes the Wine prefix build/wine: windows without a manager's frames, and the fonts that the tests and the viewer use,
# registered the way Windows registers fonts.
source "$(dirname "$0")/common.sh"

prefix=$build/wine
mark=$prefix/ready-1
[ -e "$mark" ] && exit 0

exec 9>"$build/wine.lock"
flock 9
[ -e "$mark" ] && exit 0
rm -rf "$prefix"

fonts_key='HKLM\Software\Microsoft\Windows NT\CurrentVersion\Fonts'
liberation=/usr/share/fonts/truetype/liberation2/LiberationSans
dejavu=/usr/share/fonts/truetype/dejavu/DejaVuSans

register_font() {
    local name=$1 source=$2 file=$3
    cp "$source" "$prefix/drive_c/windows/Fonts/$file"
    "$root/tools/wine-run.sh" --no-prefix reg add "$fonts_key" /v "$name (TrueType)" /d "$file" /f
}

make_prefix() {
    "$root/tools/wine-run.sh" --no-prefix wineboot -i
    # Without this, destroying a visible top-level window waits for a window manager that is not there.
    "$root/tools/wine-run.sh" --no-prefix reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
    mkdir -p "$prefix/drive_c/windows/Fonts"
    register_font "Arial" "$liberation-Regular.ttf" arial.ttf
    register_font "Arial Bold" "$liberation-Bold.ttf" arialbd.ttf
    register_font "Arial Italic" "$liberation-Italic.ttf" ariali.ttf
    register_font "Arial Bold Italic" "$liberation-BoldItalic.ttf" arialbi.ttf
    register_font "DejaVu Sans" "$dejavu.ttf" DejaVuSans.ttf
}

step wine-prefix "Making the Wine prefix" make_prefix
touch "$mark"
