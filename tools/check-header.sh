#!/usr/bin/env bash
# Checks what each source of a host costs that includes the library, and that the numbered contents list at the top of the view's header is true: tools/check-header.sh [HEADER].
#
#  - The list and the section lines "// ---- 5. Context lifecycle. Implemented in ViewContexts.cpp" have the same
#    numbers and name the same files; below a section line, further comments may say "Implemented in ...". A title of
#    the list may leave words of the section's out.
#  - Each file exists where the list says.
#  - Each public function that a section declares without a body is defined in one of the section's files.
source "$(dirname "$0")/common.sh"

python3 - "$root" "${1:-$root/display/view/OpenGLView.h}" <<'PYTHON'
import re, sys
from pathlib import Path

root, header = Path(sys.argv[1]), Path(sys.argv[2])
class_name = "COpenGLView"
faults = []

def file_names(text):
    return re.findall(r"[\w/]+\.(?:cpp|h)\b", text)

def words(text):
    return re.findall(r"[\w.]+", text.lower())

def is_shortened(short, long):
    remaining = iter(long)
    return all(word in remaining for word in short)

def read_contents(lines):
    """Number -> (title, paths). Files after the first of a row lie in its folder unless they name their own."""
    contents, number = {}, None
    for line in lines:
        row = re.match(r"///\s+(\d+)\.\s+(\S.*?)\s{2,}(\S+\.(?:cpp|h)\b.*)$", line)
        continued = re.match(r"///\s{10,}(\S+\.(?:cpp|h)\b.*)$", line)
        if row:
            number = int(row[1])
            if number in contents:
                faults.append(f"the contents list has number {number} twice")
            contents[number] = (row[2], [])
        elif not (number and continued):
            number = None
            continue
        paths = contents[number][1]
        for name in file_names(row[3] if row else continued[1]):
            folder = Path(paths[-1]).parent if paths and "/" not in name else Path()
            paths.append(str(folder / name))
    return contents

def public_lines(lines):
    """The lines of the class that are public, without those of what is nested in it."""
    inside, public = False, False
    for line in lines:
        if re.match(rf"class\s+(\w+\s+)?{class_name}\b[^;]*$", line):
            inside = True
        elif inside and line.startswith("};"):
            return
        elif re.match(r"(public|protected|private):", line):
            public = line.startswith("public:")
        elif inside and public:
            yield line

def read_sections(lines):
    """The sections in their order: (number, title, names of files, text). One without a number has number None."""
    sections = []
    for line in public_lines(lines):
        opening = re.match(r"\s*// ---- (?:(\d+)\. )?(.*)$", line)
        if opening:
            title = re.split(r"\. Implemented in", opening[2])[0]
            sections.append([opening[1] and int(opening[1]), title.rstrip("."), [], []])
        if sections:
            sections[-1][3].append(line.strip())
    for section in sections:
        # Blocks of comments that are not documentation; what a block says after "Implemented in" names files.
        block = ""
        for line in section[3] + [""]:
            if re.match(r"//(?!/)", line):
                block += " " + line[2:]
                continue
            _, _, implemented = block.partition("Implemented in")
            section[2] += file_names(implemented)
            block = ""
    return sections

def functions_without_body(lines):
    code = "\n".join(re.sub(r"//.*", "", line) for line in lines)
    code = re.sub(r'"[^"\n]*"', '""', code)
    code = re.sub(r"=\s*\{\}", "= 0", code) # default arguments
    # What has braces is defined here: functions with a body, nested types, members with a value.
    while re.search(r"\{[^{}]*\}", code):
        code = re.sub(r"\{[^{}]*\}", " @;", code)
    for statement in code.split(";"):
        statement = statement.strip()
        if "@" in statement or re.match(r"(using|friend|typedef|struct|class|enum|static_assert)\b", statement):
            continue
        if re.search(r"=\s*(default|delete|0)$", statement):
            continue
        name = re.search(r"(operator\s*[^\s\w(]+|~?\b\w+)\s*\(", statement)
        if name and not name[1].startswith("m_"):
            yield re.sub(r"\s+", "", name[1])

lines = header.read_text(encoding="utf-8").splitlines()
contents = read_contents(lines)
sections = read_sections(lines)
numbered = {number: (title, files, text) for number, title, files, text in sections if number}
if not contents:
    faults.append("no contents list was found")
if list(contents) != list(range(1, len(contents) + 1)):
    faults.append(f"the numbers of the contents list are {list(contents)}, not 1, 2, 3, ...")
section_numbers = [number for number, *_ in sections if number]
if section_numbers != list(contents):
    faults.append(f"the contents list has the numbers {list(contents)}, the sections have {section_numbers}")

checked = 0
for number, (title, paths) in contents.items():
    for path in paths:
        if not path.startswith("display/") or not (root / path).is_file():
            faults.append(f"section {number}: the contents list names {path}, which does not exist")
    if number not in numbered:
        continue
    section_title, files, text = numbered[number]
    if not is_shortened(words(title), words(section_title)):
        faults.append(f"section {number}: the contents list says '{title}', the section '{section_title}'")
    listed = [Path(path).name for path in paths]
    if sorted(set(files)) != sorted(listed):
        faults.append(f"section {number}: the contents list names {', '.join(listed)}, the section "
                      f"{', '.join(files) or 'no file'}")
    sources = "\n".join((root / path).read_text(encoding="utf-8") for path in paths if (root / path).is_file())
    for name in dict.fromkeys(functions_without_body(text)):
        checked += 1
        # A definition begins at the left margin; what is indented is a call.
        if not re.search(rf"^(?:[^\s/#].*[\s*&])?{class_name}::{re.escape(name)}\s*\(", sources, re.M):
            faults.append(f"section {number}: {name} is not defined in {', '.join(listed)}")
for fault in faults:
    print(f"{header}: {fault}")
if checked == 0:
    sys.exit(f"{header}: no functions were found")
if faults:
    sys.exit(1)
print(f"{len(contents)} sections and {checked} functions are where the contents list says")
PYTHON

# A host compiles this with each of its sources. <windows.h> itself has 65,000 lines without what few programs need.
preprocessed_lines() {
    echo "#include <$1>" | x86_64-w64-mingw32-g++-posix -std=c++20 -DWIN32_LEAN_AND_MEAN -I "$root/display" \
        -I "$root/compat/mfc" -isystem "$build/deps/include" -E -x c++ - | wc -l
}
limit=60000
all=$(preprocessed_lines OrrinDisplay.h)
system=$(preprocessed_lines windows.h)
own=$((all - system))
if [ "$own" -gt "$limit" ]; then
    echo "OrrinDisplay.h costs a host $own preprocessed lines beside <windows.h>, more than $limit: <memory>, <algorithm>," \
        "<functional>, <string> and <richedit.h> are too heavy for it" >&2
    exit 1
fi
echo "OrrinDisplay.h costs a host $own preprocessed lines beside <windows.h>, of $limit"
