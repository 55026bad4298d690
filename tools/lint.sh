#!/usr/bin/env bash
# Checks the format of all sources, reads them with clang-tidy, and compares the generated tables with their catalogue.
source "$(dirname "$0")/common.sh"
cd "$root"

mapfile -t formatted < <(git ls-files '*.h' '*.cpp' | grep -v '/generated/')
step clang-format "Checking the format of ${#formatted[@]} files" clang-format --dry-run -Werror "${formatted[@]}"
step generated "Checking the generated tables" python3 cmake/generate_entry_points.py --check

# The commands of the build, read with the target's headers. Driver and tests follow other habits and are left out.
database=$build/tidy
mkdir -p "$database"
python3 - "$build/mingw/compile_commands.json" "$database/compile_commands.json" <<'PYTHON'
import json, re, subprocess, sys
search = subprocess.run(["x86_64-w64-mingw32-g++-posix", "-E", "-x", "c++", "-v", "/dev/null"], capture_output=True, text=True)
folders = re.search(r"search starts here:\n(.*?)End of search", search.stderr, re.S).group(1).split()
extra = ["clang++", "--target=x86_64-w64-windows-gnu", "-nostdinc", "-nostdinc++"]
extra += [word for folder in folders if "/include-fixed" not in folder for word in ("-isystem", folder)]
entries = [entry for entry in json.load(open(sys.argv[1])) if re.search(r"/(display|host)/[^.]*\.cpp$", entry["file"])]
entries = [entry for entry in entries if "OrrinDisplayStatic" not in entry["output"]]
for entry in entries:
    words = entry.pop("command").split()
    entry["arguments"] = extra + [word for word in words[1:] if not word.startswith("-fsanitize")]
json.dump(entries, open(sys.argv[2], "w"))
PYTHON
mapfile -t sources < <(python3 -c 'import json, sys; print("\n".join(e["file"] for e in json.load(open(sys.argv[1]))))' "$database/compile_commands.json")
tidy() {
    printf '%s\0' "${sources[@]}" | xargs -0 -P2 -n4 clang-tidy -p "$database" --quiet
}
step clang-tidy "Reading ${#sources[@]} sources with clang-tidy" tidy
