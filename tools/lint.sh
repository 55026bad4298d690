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

# The commands of the build, read by Clang with the target's headers. It warns as a compiler too, of much that GCC alone
# accepts and Visual Studio would not. Driver and tests follow other habits and are left out.
database=$build/tidy
mkdir -p "$database"
python3 - "$root" "$build/mingw/compile_commands.json" "$database/compile_commands.json" <<'PYTHON'
import json, os, re, shlex, subprocess, sys
root, commands, output = sys.argv[1:]
search = subprocess.run(["x86_64-w64-mingw32-g++-posix", "-E", "-x", "c++", "-v", os.devnull], capture_output=True, text=True)
folders = re.search(r"<...> search starts here:\n(.*?)End of search", search.stderr, re.S).group(1).split()
# clang brings the headers of its own built-in functions; the compiler's would not do.
folders = [folder for folder in folders if not re.search(r"/include(-fixed)?$", folder) or "/gcc/" not in folder]
arguments = ["clang++", "--target=x86_64-w64-windows-gnu", "-nostdinc++"]
arguments += [word for folder in folders for word in ("-isystem", folder)]
entries = []
for entry in json.load(open(commands)):
    if re.match(re.escape(root) + r"/(display|host)/.*\.cpp$", entry["file"]) and "Static" not in entry["command"]:
        command = re.sub(r"-include \S*cmake_pch\.hxx", "", entry.pop("command"))
        words = [word for word in shlex.split(command)[1:] if not word.startswith(("-fsanitize", "-fno-keep", "-W"))]
        entries.append({**entry, "arguments": arguments + words + ["-Wall", "-Wextra", "-Wpedantic"]})
json.dump(entries, open(output, "w"))
PYTHON
mapfile -t sources < <(python3 -c 'import json, sys; print("\n".join(e["file"] for e in json.load(open(sys.argv[1]))))' "$database/compile_commands.json")
tidy() {
    printf '%s\0' "${sources[@]}" | xargs -0 -P2 -n4 clang-tidy -p "$database" --quiet "${shallow[@]}"
}
step clang-tidy "Reading ${#sources[@]} sources with clang-tidy" tidy
