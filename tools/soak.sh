#!/usr/bin/env bash
# Has a program do for ten minutes what hosts do all day, on both pipelines, and prints what the process holds after a
# tenth, half and all of it as Markdown: 200 views at once, switches between views, windows opened and closed, 400,000
# frames, images, stored frames, fonts, resizes down to nothing, the library loaded and unloaded. Ends with 1 where
# something grows. --quick does less, in about a minute. --only LOAD takes single loads. --driver NAME runs on another
# driver of Mesa's (see wine-run.sh), after the live tests on it.
source "$(dirname "$0")/common.sh"
cd "$root"
arguments=() live=no
while [ $# -gt 0 ]; do
    case $1 in
        --quick | --proofs) arguments+=("$1") ;;
        --only)
            arguments+=("$1" "${2:?which load?}")
            shift
            ;;
        --driver)
            export ORRIN_GL_DRIVER=${2:?which driver?}
            live=yes
            shift
            ;;
        *)
            echo "usage: tools/soak.sh [--quick] [--proofs] [--only LOAD]... [--driver NAME]" >&2
            exit 2
            ;;
    esac
    shift
done
tools/setup.sh >&2
# Windows of a desktop would be its manager's to count.
unset DISPLAY
targets=(display_soak)
[ $live = no ] || targets+=(display_live_tests)
step configure "Configuring" cmake --preset mingw >&2
step build-soak "Building ${targets[*]}" cmake --build --preset mingw --target "${targets[@]}" >&2
if [ $live = yes ]; then
    tools/wine-run.sh build/mingw/bin/display_live_tests.exe --gtest_brief=1 >&2
fi
python3 tools/soak-run.py build/mingw/bin/display_soak.exe "${arguments[@]}"
