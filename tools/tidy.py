#!/usr/bin/env python3
"""Reads the library's and the viewer's sources with clang-tidy, by the commands of the build mingw. The driver and
the tests follow other habits and are left out. Called by tools/lint.sh; what is given is handed to clang-tidy.

Nearly all of its time goes into headers, which it reads and searches anew for each file. Sources are therefore read
in groups, each as one file that is put together from them, and what is found is told of the source it is in. Names
that two sources of a group keep to themselves would clash: what is seen to be such a name keeps sources apart, and
where that was not seen, the group's sources are read one by one.
"""

import concurrent.futures
import functools
import json
import os
import re
import shlex
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FOLDER = ROOT / "build/tidy"
GROUP_SIZE = 12


def clang_arguments():
    """What makes Clang a compiler for the target, with the headers of the build's compiler. Clang brings those of its
    own built-in functions; the compiler's would not do."""
    compiler = ["x86_64-w64-mingw32-g++-posix", "-E", "-x", "c++", "-v", os.devnull]
    listing = subprocess.run(compiler, capture_output=True, text=True, check=True).stderr
    folders = re.search(r"<...> search starts here:\n(.*?)End of search", listing, re.S).group(1).split()
    folders = [folder for folder in folders if not re.search(r"/include(-fixed)?$", folder) or "/gcc/" not in folder]
    isystem = [word for folder in folders for word in ("-isystem", folder)]
    return ["clang++", "--target=x86_64-w64-windows-gnu", "-nostdinc++", *isystem]


def build_commands():
    """Of each source, its path, folder and arguments without itself, as what it belongs to compiles it first. It is
    warned of as by a compiler too: of much that GCC alone accepts and Visual Studio would not."""
    first = clang_arguments()
    seen = set()
    for entry in json.loads((ROOT / "build/mingw/compile_commands.json").read_text()):
        source, command = Path(entry["file"]), entry["command"]
        if source in seen or source.relative_to(ROOT).parts[0] not in ("display", "host") or source.suffix != ".cpp":
            continue
        seen.add(source)
        words = shlex.split(re.sub(r"-include \S*cmake_pch\.hxx", "", command))[1:]
        words = words[: words.index("-o")]
        words = [word for word in words if not word.startswith(("-fsanitize", "-fno-keep", "-W"))]
        yield source, entry["directory"], (*first, *words, "-Wall", "-Wextra", "-Wpedantic")


def own_names(text):
    """What a source keeps to itself: names declared at the left margin of a nameless namespace, static ones, macros."""
    hidden = re.findall(r"^namespace \{$(.*?)^\} // namespace$", text, re.S | re.M)
    lines = [line for part in hidden for line in part.split("\n")] + re.findall(r"^static .*", text, re.M)
    return set(re.findall(r"^#define (\w+)", text, re.M)) | names_at_margin(lines)


def names_at_margin(lines):
    """What is declared in lines that are not indented."""
    names = set()
    for line in lines:
        if not re.match(r"(?!public|private|protected|namespace)[A-Za-z_]", line):
            continue
        name = re.search(r"(\w+)\s*(?:\[[^]]*\])*\s*(?:final\s*)?(?:[({=;]|:(?!:)|$)", line)
        if name:
            names.add(name.group(1))
    return names


def words_of(source, text, arguments):
    """All names that a source speaks of, but for members and comments, and those that its headers declare."""
    words = set(re.findall(r"(?<![.>:\w])[A-Za-z_]\w*", re.sub(r"//.*", "", text)))
    folders = tuple(Path(word[2:]) for word in arguments if word.startswith("-I"))
    waiting, read = list(headers_of(source, folders)), set()
    while waiting:
        header = waiting.pop()
        if header not in read:
            read.add(header)
            words |= names_of_header(header)
            waiting += headers_of(header, folders)
    return words


@functools.cache
def headers_of(path, folders):
    """The project's own headers that a file reads itself."""
    names = re.findall(r'^#include [<"]([^">]+)[">]', path.read_text(), re.M)
    places = [[folder / name for folder in (path.parent, *folders) if (folder / name).is_file()] for name in names]
    return [found[0].resolve() for found in places if found]


@functools.cache
def names_of_header(path):
    return names_at_margin(path.read_text().split("\n"))


def grouped(commands):
    """Lists of sources that go together, with their folder and arguments."""
    open_groups, groups = {}, []
    for source, folder, arguments in commands:
        text = source.read_text()
        # A macro that is defined before a header is meant for that header, which another source may have read already.
        alone = re.search(r"^#define .*^#include ", text, re.S | re.M) is not None
        names, words = own_names(text), words_of(source, text, arguments)
        candidates = [] if alone else open_groups.setdefault(arguments, [])
        for group, their_names, their_words in candidates:
            if not names & their_words and not words & their_names:
                break
        else:
            group, their_names, their_words = ([], folder, arguments), set(), set()
            groups.append(group)
            candidates.append((group, their_names, their_words))
        group[0].append(source)
        their_names |= names
        their_words |= words
        if len(group[0]) == GROUP_SIZE:
            candidates[:] = [candidate for candidate in candidates if candidate[0] is not group]
    return groups


def joined(sources, path):
    """Puts sources together into one file; returns where each begins there."""
    begins, lines = [], []
    for source in sources:
        begins.append(len(lines))
        for line in source.read_text().split("\n"):
            beside = re.match(r'#include "([^"]+)"', line)
            if beside and (source.parent / beside.group(1)).exists():
                line = f'#include "{source.parent / beside.group(1)}"'
            lines.append(line)
    path.write_text("\n".join(lines))
    return begins


def tidy(path, folder, arguments, options):
    command = ["clang-tidy", "--quiet", *options, str(path), "--", *arguments[1:]]
    result = subprocess.run(command, cwd=folder, capture_output=True, text=True)
    return result.returncode, result.stdout, result.stderr


def read_group(number, group, options):
    """What was found in the sources of a group; nothing if all is well."""
    sources, folder, arguments = group
    if len(sources) > 1:
        path = FOLDER / f"group_{number}.cpp"
        begins = joined(sources, path)

        def place(match):
            line = int(match.group(1))
            index = max(i for i, begin in enumerate(begins) if begin < line)
            return f"{sources[index]}:{line - begins[index]}"

        status, found, said = tidy(path, folder, arguments, options)
        found = re.sub(re.escape(str(path)) + r":(\d+)", place, found)
        if status == 0:
            return ""
        if "clang-diagnostic-error" not in found:
            return found or said
        print("Read one by one, as they do not go together:", *(str(source.relative_to(ROOT)) for source in sources))
        print("\n".join(re.findall(r".*clang-diagnostic-error.*", found)), flush=True)
    results = [tidy(source, folder, arguments, options) for source in sources]
    return "".join(found or said for status, found, said in results if status != 0)


def main():
    FOLDER.mkdir(parents=True, exist_ok=True)
    groups = grouped(list(build_commands()))
    groups.sort(key=lambda group: -len(group[0]))
    print(sum(len(group[0]) for group in groups), "sources in", len(groups), "groups")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = [pool.submit(read_group, number, group, sys.argv[1:]) for number, group in enumerate(groups)]
        texts = [result.result() for result in results]
    sys.stdout.write("".join(texts))
    return 1 if any(texts) else 0


if __name__ == "__main__":
    sys.exit(main())
