#!/usr/bin/env bash
# Checks the format of all sources and the contents list of the view's header, compares the generated tables with their
# catalogue, and reads the sources with clang-tidy. --deep has its analyzer follow more paths through each function, which
# takes twice as long.
source "$(dirname "$0")/common.sh"
cd "$root"
shallow=(--extra-arg=-Xclang --extra-arg=-analyzer-config --extra-arg=-Xclang --extra-arg=mode=shallow)
case ${1:-} in
    "") ;;
    --deep) shallow=() ;;
    *)
        echo "usage: tools/lint.sh [--deep]" >&2
        exit 2
        ;;
esac

mapfile -t formatted < <(git ls-files '*.h' '*.cpp' | grep -v '/generated/')
step clang-format "Checking the format of ${#formatted[@]} files" clang-format --dry-run -Werror "${formatted[@]}"
step check-header "Checking the contents list of the view's header" tools/check-header.sh
step generated "Checking the generated tables" python3 cmake/generate_entry_points.py --check

step clang-tidy "Reading the library and the viewer with clang-tidy" python3 tools/tidy.py "${shallow[@]}"
