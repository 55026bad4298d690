#!/usr/bin/env bash
# Makes a Debian 12 machine ready to build and run: packages, libraries for the target, Wine prefix. Asks nothing; what is
# there already is left alone.
source "$(dirname "$0")/common.sh"

install_packages \
    g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 libz-mingw-w64-dev gcc libc6-dev make tcl cmake ninja-build git ca-certificates dpkg-dev python3 \
    wine64 xvfb xauth x11-utils xdotool openbox libgl1 libgl1-mesa-dri libosmesa6 \
    libglm-dev libcli11-dev libstb-dev googletest khronos-api \
    fonts-liberation2 fonts-dejavu-core clang-format clang-tidy gdal-bin proj-data
"$root/tools/build-deps.sh"
"$root/tools/make-prefix.sh"
