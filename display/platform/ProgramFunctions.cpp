#include "ProgramFunctions.h"

#include <cstddef>

namespace KTR {

namespace {

struct NeededFunction {
    std::size_t offset; ///< of its pointer in the table
    const wchar_t* name;
};

#define ORRIN_NEEDED(function)                                                                                         \
    NeededFunction {                                                                                                   \
        offsetof(GLEntryPoints, function), L"" #function                                                               \
    }

/// All that the library calls on a 4.x context without asking first whether it is there. OpenGL 4.4 promises them.
constexpr NeededFunction kNeededFunctions[] = {
    ORRIN_NEEDED(glActiveTexture),
    ORRIN_NEEDED(glAttachShader),
    ORRIN_NEEDED(glBindBuffer),
    ORRIN_NEEDED(glBindSampler),
    ORRIN_NEEDED(glBindVertexArray),
    ORRIN_NEEDED(glBindVertexBuffer),
    ORRIN_NEEDED(glBlendEquation),
    ORRIN_NEEDED(glBlendEquationSeparate),
    ORRIN_NEEDED(glBlendFuncSeparate),
    ORRIN_NEEDED(glBufferData),
    ORRIN_NEEDED(glBufferStorage),
    ORRIN_NEEDED(glBufferSubData),
    ORRIN_NEEDED(glClientWaitSync),
    ORRIN_NEEDED(glCompileShader),
    ORRIN_NEEDED(glCreateProgram),
    ORRIN_NEEDED(glCreateShader),
    ORRIN_NEEDED(glDeleteBuffers),
    ORRIN_NEEDED(glDeleteProgram),
    ORRIN_NEEDED(glDeleteSamplers),
    ORRIN_NEEDED(glDeleteShader),
    ORRIN_NEEDED(glDeleteSync),
    ORRIN_NEEDED(glDeleteVertexArrays),
    ORRIN_NEEDED(glDetachShader),
    ORRIN_NEEDED(glDisableVertexAttribArray),
    ORRIN_NEEDED(glDrawElementsBaseVertex),
    ORRIN_NEEDED(glEnableVertexAttribArray),
    ORRIN_NEEDED(glFenceSync),
    ORRIN_NEEDED(glGenBuffers),
    ORRIN_NEEDED(glGenSamplers),
    ORRIN_NEEDED(glGenVertexArrays),
    ORRIN_NEEDED(glGetBufferParameteri64v),
    ORRIN_NEEDED(glGetProgramInfoLog),
    ORRIN_NEEDED(glGetProgramiv),
    ORRIN_NEEDED(glGetShaderInfoLog),
    ORRIN_NEEDED(glGetShaderiv),
    ORRIN_NEEDED(glGetUniformLocation),
    ORRIN_NEEDED(glIsBuffer),
    ORRIN_NEEDED(glIsProgram),
    ORRIN_NEEDED(glIsSampler),
    ORRIN_NEEDED(glLinkProgram),
    ORRIN_NEEDED(glMapBufferRange),
    ORRIN_NEEDED(glSamplerParameteri),
    ORRIN_NEEDED(glShaderSource),
    ORRIN_NEEDED(glTexStorage2D),
    ORRIN_NEEDED(glUniform1f),
    ORRIN_NEEDED(glUniform1i),
    ORRIN_NEEDED(glUniform1ui),
    ORRIN_NEEDED(glUniform2f),
    ORRIN_NEEDED(glUniform3f),
    ORRIN_NEEDED(glUniform3fv),
    ORRIN_NEEDED(glUniform4f),
    ORRIN_NEEDED(glUniform4fv),
    ORRIN_NEEDED(glUniformMatrix3fv),
    ORRIN_NEEDED(glUniformMatrix4fv),
    ORRIN_NEEDED(glUnmapBuffer),
    ORRIN_NEEDED(glUseProgram),
    ORRIN_NEEDED(glVertexAttribBinding),
    ORRIN_NEEDED(glVertexAttribFormat),
};

#undef ORRIN_NEEDED

} // namespace

bool FindMissingProgramFunctions(const GLEntryPoints& functions, CString& names) {
    const auto* const table = reinterpret_cast<const std::byte*>(&functions);
    names.Empty();
    for (const NeededFunction& needed : kNeededFunctions) {
        if (*reinterpret_cast<void* const*>(table + needed.offset) == nullptr) {
            names += names.IsEmpty() ? L"" : L", ";
            names += needed.name;
        }
    }
    return !names.IsEmpty();
}

} // namespace KTR
