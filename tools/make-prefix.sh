#!/usr/bin/env bash
# Makes the Wine prefix build/wine, or with --desktop build/wine-desktop, with the fonts that the tests and the viewer use,
# registered the way Windows registers fonts. One that was left half made is made anew. In the first one windows have no
# manager, since there is none on the virtual screen; in the other one they are the desktop's, like those of all programs.
source "$(dirname "$0")/common.sh"

prefix=$build/wine
managed=N
case ${1:-} in
    "") ;;
    --desktop) prefix=$build/wine-desktop managed=Y ;;
    *)
        echo "usage: tools/make-prefix.sh [--desktop]" >&2
        exit 2
        ;;
esac
mark=$prefix/ready-2
[ ! -e "$mark" ] || exit 0

exec 9>"$prefix.lock"
flock 9
[ ! -e "$mark" ] || exit 0

liberation=/usr/share/fonts/truetype/liberation2/LiberationSans
dejavu=/usr/share/fonts/truetype/dejavu/DejaVuSans

# Without Managed=N, destroying a visible top-level window waits for a window manager that is not there.
write_settings() {
    cat <<SETTINGS
REGEDIT4

[HKEY_CURRENT_USER\\Software\\Wine\\X11 Driver]
"Managed"="$managed"

[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion\\Fonts]
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
    "$root/tools/wine-run.sh" --as-is "$prefix" wineboot -i 9>&-
    mkdir -p "$fonts"
    cp "$liberation-Regular.ttf" "$fonts/arial.ttf"
    cp "$liberation-Bold.ttf" "$fonts/arialbd.ttf"
    cp "$liberation-Italic.ttf" "$fonts/ariali.ttf"
    cp "$liberation-BoldItalic.ttf" "$fonts/arialbi.ttf"
    cp "$dejavu.ttf" "$fonts/DejaVuSans.ttf"
    write_settings >"$prefix/drive_c/settings.reg"
    "$root/tools/wine-run.sh" --as-is "$prefix" regedit /S 'C:\settings.reg' 9>&-
    touch "$mark"
}

step "$(basename "$prefix")-prefix" "Making the Wine prefix ${prefix#"$root/"}" make_prefix
