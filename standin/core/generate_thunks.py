#!/usr/bin/env python3
"""Writes the stand-in driver's function table, its thunks and its export list from the GL and WGL registries.

Usage: generate_thunks.py GL_XML WGL_XML OUTPUT_FOLDER
"""

import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

THUNK_FILES = 4

# Only the size and the class of an argument matter for handing it on: (C++ type, letter in the journal).
SCALARS = {
    "GLenum": ("unsigned", "u"), "GLuint": ("unsigned", "u"), "GLbitfield": ("unsigned", "u"),
    "GLint": ("int", "i"), "GLsizei": ("int", "i"), "GLboolean": ("unsigned char", "u"),
    "GLubyte": ("unsigned char", "u"), "GLbyte": ("signed char", "i"), "GLshort": ("short", "i"),
    "GLushort": ("unsigned short", "u"), "GLfloat": ("float", "f"), "GLdouble": ("double", "d"),
    "GLintptr": ("long long", "i"), "GLsizeiptr": ("long long", "i"), "GLint64": ("long long", "i"),
    "GLuint64": ("unsigned long long", "u"), "BOOL": ("int", "i"), "int": ("int", "i"), "INT": ("int", "i"),
    "UINT": ("unsigned", "u"), "DWORD": ("unsigned", "u"), "COLORREF": ("unsigned", "u"), "FLOAT": ("float", "f"),
}
POINTER = ("void*", "p")
TEXT = ("void*", "s")

OBJECT_LETTERS = {
    "texture": "T", "buffer": "B", "sampler": "S", "vertex array": "V", "program": "P", "shader": "H",
    "display list": "L", "sync": "Y", "framebuffer": "F", "renderbuffer": "R", "query": "Q",
    "program pipeline": "O", "transform feedback": "X",
}
# Names of objects in arguments that the registry does not mark as such.
UNMARKED_OBJECTS = {("glUseProgram", "program"): "P", ("glUseProgramStages", "program"): "P",
                    ("glCallList", "list"): "L"}

WGL_EXTENSIONS = ["wglChoosePixelFormatARB", "wglCreateContextAttribsARB", "wglGetExtensionsStringARB",
                  "wglGetExtensionsStringEXT", "wglGetPixelFormatAttribfvARB", "wglGetPixelFormatAttribivARB",
                  "wglGetSwapIntervalEXT", "wglMakeContextCurrentARB", "wglGetCurrentReadDCARB", "wglSwapIntervalEXT"]

# Exports of the system's DLL that the registry lacks or spells differently: result letter, then argument letters.
UNREGISTERED_EXPORTS = {
    "wglChoosePixelFormat": "ipp", "wglDescribePixelFormat": "ipiup", "wglGetPixelFormat": "ip",
    "wglSetPixelFormat": "ipip", "wglSwapBuffers": "ip", "wglGetDefaultProcAddress": "ps",
    "wglSwapMultipleBuffers": "uup", "glDebugEntry": "iuu", "GlmfBeginGlsBlock": "ip", "GlmfCloseMetaFile": "ip",
    "GlmfEndGlsBlock": "ip", "GlmfEndPlayback": "ip", "GlmfInitPlayback": "ippp", "GlmfPlayGlsRecord": "ipupp",
}
WGL_EXPORTS = ["wglCopyContext", "wglCreateContext", "wglCreateLayerContext", "wglDeleteContext",
               "wglDescribeLayerPlane", "wglGetCurrentContext", "wglGetCurrentDC", "wglGetLayerPaletteEntries",
               "wglGetProcAddress", "wglMakeCurrent", "wglRealizeLayerPalette", "wglSetLayerPaletteEntries",
               "wglShareLists", "wglSwapLayerBuffers", "wglUseFontBitmapsA", "wglUseFontBitmapsW",
               "wglUseFontOutlinesA", "wglUseFontOutlinesW"]
LETTER_TYPES = {"i": "int", "u": "unsigned", "p": "void*", "s": "void*"}


class Function:
    """One function of the table: its signature, and what its arguments mean to the driver's bookkeeping."""

    def __init__(self, name, exported, version=0, fixed_function_only=False):
        self.name = name
        self.exported = exported
        self.version = version
        self.fixed_function_only = fixed_function_only
        self.result_type, self.result_letter, self.result_object = "void", "v", "-"
        self.types, self.letters, self.objects = [], "", ""
        self.count_argument = -1

    @staticmethod
    def from_letters(name, letters):
        function = Function(name, exported=True)
        function.result_type, function.result_letter = LETTER_TYPES[letters[0]], letters[0]
        function.letters = letters[1:]
        function.types = [LETTER_TYPES[letter] for letter in function.letters]
        function.objects = "-" * len(function.letters)
        return function

    def read_signature(self, command):
        declaration = declaration_of(command.find("proto"))
        if declaration != "void":
            self.result_type, self.result_letter = abi_type(declaration)
            self.result_object = OBJECT_LETTERS.get(command.find("proto").get("class"), "-")
        names = [parameter.find("name").text for parameter in command.findall("param")]
        for parameter, name in zip(command.findall("param"), names):
            declaration = declaration_of(parameter)
            abi, letter = abi_type(declaration)
            if self.is_text(declaration, name):
                abi, letter = TEXT
            kind = OBJECT_LETTERS.get(parameter.get("class")) or UNMARKED_OBJECTS.get((self.name, name), "-")
            if "*" in declaration and kind != "-":
                kind = kind.lower()
                # An array that the driver fills with names which exist already is of no interest.
                if "const" not in declaration and not re.match(r"gl(Gen|Create)", self.name):
                    kind = "-"
                elif parameter.get("len") in names:
                    self.count_argument = names.index(parameter.get("len"))
            if self.name == "glDeleteLists" and name == "range":
                self.count_argument = names.index(name)
            self.types.append(abi)
            self.letters += letter
            self.objects += kind

    def is_text(self, declaration, name):
        if self.name == "wglGetProcAddress":
            return True
        if (self.name, name) in {("glObjectLabel", "label"), ("glPushDebugGroup", "message")}:
            return True
        return self.name.startswith("gl") and declaration == "const GLchar*" and name == "name"

    def row(self):
        return (f'ORRIN_FUNCTION({self.name}, "{self.letters}", \'{self.result_letter}\', "{self.objects}", '
                f"'{self.result_object}', {self.count_argument}, {self.version}, "
                f"{str(self.fixed_function_only).lower()}, {str(self.exported).lower()})")


def declaration_of(element):
    """The type of a parameter or result, without its name and needless spaces."""
    text = "".join(element.itertext())
    name = element.find("name").text
    text = text[:text.rindex(name)]
    return re.sub(r"\s*\*\s*", "*", " ".join(text.split()))


def abi_type(declaration):
    return POINTER if "*" in declaration else SCALARS.get(declaration.replace("const ", ""), POINTER)


def read_gl(path):
    root = ElementTree.parse(path).getroot()
    versions, removed = {}, set()
    for feature in root.findall("feature"):
        if feature.get("api") != "gl":
            continue
        major, minor = feature.get("number").split(".")
        for required in feature.findall("require"):
            for command in required.findall("command"):
                versions.setdefault(command.get("name"), int(major) * 10 + int(minor))
                # Some of what one version removed from the core profile came back in a later one.
                removed.discard(command.get("name"))
        for remove in feature.findall("remove"):
            removed.update(command.get("name") for command in remove.findall("command"))
    commands = {command.find("proto/name").text: command for command in root.find("commands")}
    functions = []
    for name in sorted(versions):
        function = Function(name, versions[name] <= 11, versions[name], name in removed)
        function.read_signature(commands[name])
        functions.append(function)
    return functions


def read_wgl(path):
    root = ElementTree.parse(path).getroot()
    commands = {command.find("proto/name").text: command for command in root.find("commands")}
    functions = [Function.from_letters(name, letters) for name, letters in UNREGISTERED_EXPORTS.items()]
    for name in WGL_EXPORTS + WGL_EXTENSIONS:
        function = Function(name, exported=name in WGL_EXPORTS)
        function.read_signature(commands[name])
        functions.append(function)
    return sorted(functions, key=lambda function: function.name)


def thunk_file(part, functions):
    lines = ['#include "core/Thunk.h"', "", "namespace StandInDriver {", "",
             f"void FillFunctionCode{part}(FunctionCode* code) {{"]
    for index, function in functions:
        types = "".join(f", {abi}" for abi in function.types)
        lines.append(f"    code[{index}] = CodeOf<{index}, {function.result_type}{types}>();")
    lines += ["}", "", "} // namespace StandInDriver", "", 'extern "C" {']
    for index, function in functions:
        if not function.exported:
            continue
        parameters = ", ".join(f"{abi} a{position}" for position, abi in enumerate(function.types))
        template = "".join(f", {abi}" for abi in function.types)
        arguments = "".join(f", a{position}" for position in range(len(function.types)))
        lines += [f"{function.result_type} ORRIN_GLCALL {function.name}({parameters}) {{",
                  f"    return StandInDriver::Invoke<{function.result_type}{template}>({index}, "
                  f"StandInDriver::kAnyContext{arguments});", "}"]
    lines += ["}", ""]
    return "\n".join(lines)


def write_if_changed(path, text):
    if not path.exists() or path.read_text() != text:
        path.write_text(text)


def main():
    gl_path, wgl_path, folder = sys.argv[1:4]
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    functions = read_gl(gl_path) + read_wgl(wgl_path)
    rows = [function.row() for function in functions]
    write_if_changed(folder / "DriverFunctions.inc", "\n".join(rows) + "\n")
    numbered = list(enumerate(functions))
    for part in range(THUNK_FILES):
        write_if_changed(folder / f"DriverThunks{part}.cpp", thunk_file(part, numbered[part::THUNK_FILES]))
    exports = ["LIBRARY opengl32", "EXPORTS"] + [f"    {function.name}" for function in functions if function.exported]
    write_if_changed(folder / "opengl32.def", "\n".join(exports) + "\n")


if __name__ == "__main__":
    main()
