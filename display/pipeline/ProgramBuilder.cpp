#include "ProgramBuilder.h"

#include "../diagnostics/DebugNames.h"
#include "../platform/Border.h"
#include "../platform/GLCalls.h"
#include "../platform/Notice.h"
#include "ShaderFiles.h"
#include "StockPrograms.h"

#include <GL/glext.h>

#include <algorithm>
#include <cwchar>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace KTR {

namespace {

constexpr std::size_t kFailureCapacity = 512;

/// One stage of a program while it is built: its file, the source read from it and where its GL name goes.
struct Stage {
    GLenum kind;
    const wchar_t* file;
    unsigned int& shader;
    std::unique_ptr<char[]> source;
};

/// Defines a name behind a source's version, which has to come first.
long Define(const char* name, Stage& stage) {
    const std::string_view source = stage.source.get();
    const std::size_t end = source.starts_with("#version") ? source.find('\n') + 1 : 0;
    const std::string_view parts[] = {source.substr(0, end), "#define ", name, end > 0 ? "\n#line 2\n" : "\n#line 1\n",
                                      source.substr(end)};
    std::size_t length = 1;
    for (const std::string_view part : parts) {
        length += part.size();
    }
    std::unique_ptr<char[]> defined(new (std::nothrow) char[length]());
    if (!defined) {
        return E_OUTOFMEMORY;
    }
    char* target = defined.get();
    for (const std::string_view part : parts) {
        target = std::copy(part.begin(), part.end(), target);
    }
    stage.source = std::move(defined);
    return S_OK;
}

long LoadSource(const wchar_t* folder, const char* define, Stage& stage) {
    char* source = nullptr;
    unsigned long length = 0;
    const long result = ReadShaderSource(folder, stage.file, &source, &length);
    stage.source.reset(source);
    return result == S_OK && define ? Define(define, stage) : result;
}

std::wstring Widen(std::string_view text) {
    std::wstring wide;
    for (const char character : text) {
        wide.push_back(static_cast<unsigned char>(character));
    }
    return wide;
}

/// True when it compiled. `shader` receives the GL name either way.
bool CompileShader(const GLCalls& gl, unsigned int kind, const char* source, unsigned int& shader) {
    shader = gl.glCreateShader(kind);
    gl.glShaderSource(shader, 1, &source, nullptr);
    gl.As(L"BuildShader glCompileShader: ").glCompileShader(shader);
    GLint compiled = GL_FALSE;
    gl.glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    return compiled == GL_TRUE;
}

/// Shaders that were compiled before a failure belong to no program and would never be deleted.
void DeleteCompiledShaders(const GLCalls& gl, ShaderData& data) {
    for (unsigned int* shader : {&data.fragmentShader, &data.vertexShader, &data.tessControlShader,
                                 &data.tessEvaluationShader, &data.geometryShader, &data.computeShader}) {
        if (*shader != 0) {
            gl.As(L"BuildShader glDeleteShader: ").glDeleteShader(*shader);
            *shader = 0;
        }
    }
}

/// Location of a vertex input, -1 when the program does not read it.
int AttributeLocation(const GLCalls& gl, unsigned int program, const char* name) {
    // NOTE: the table of entry points has no glGetAttribLocation; the newer question answers the same.
    return gl.Has(&GLEntryPoints::glGetProgramResourceLocation)
               ? gl.glGetProgramResourceLocation(program, GL_PROGRAM_INPUT, name)
               : -1;
}

} // namespace

long BuildStockPrograms(const GLCalls& gl, ShaderSet& set, CString& message) {
    wchar_t failure[kFailureCapacity] = {};
    try {
        CString folder;
        GetShaderFolder(folder);
        message.Format(L"\n\n--------------------\n     OpenGL Shader Folder: %s \n--------------------\n\n",
                       folder.GetString());
        SendToDebugger(message);
        for (int slot = 0; slot < kShaderCount; ++slot) {
            const StockProgram& stock = StockProgramOf(static_cast<GLShaderTypes>(slot));
            const ProgramFiles files{
                .vertex = stock.vertexFile, .fragment = stock.fragmentFile, .geometry = stock.geometryFile};
            const long result = BuildProgram(gl, folder, files, stock.type, stock.drawMode, set.programs[slot]);
            if (result != S_OK) {
                return result;
            }
        }
        return S_OK;
    } catch (const std::exception& exception) {
        // It may be memory that is missing, so this takes none.
        _snwprintf(failure, kFailureCapacity - 1, L"EXCEPTION THROWN BuildStockShaders\nException: %hs",
                   exception.what());
    } catch (...) {
        DropCaught();
        _snwprintf(failure, kFailureCapacity - 1, L"EXCEPTION THROWN BuildStockShaders\nException: ");
    }
    SendToDebugger(failure);
    AtTheBorder([&failure] { ShowMessageBox(nullptr, failure, L"ERROR SHADERS", MB_OK); });
    return E_FAIL;
}

namespace {

long LinkFromFiles(const GLCalls& gl, const wchar_t* folder, const ProgramFiles& files, GLShaderTypes type,
                   unsigned int drawMode, ShaderData& data) {
    gl.Label(L"BuildShader BEGIN: ");
    DeleteProgram(gl, data.program);
    data = ShaderData{};
    data.type = static_cast<unsigned int>(type);
    data.drawMode = drawMode;
    Stage vertex{GL_VERTEX_SHADER, files.vertex, data.vertexShader, nullptr};
    Stage fragment{GL_FRAGMENT_SHADER, files.fragment, data.fragmentShader, nullptr};
    Stage optional[] = {
        {GL_TESS_CONTROL_SHADER, files.tessControl, data.tessControlShader, nullptr},
        {GL_TESS_EVALUATION_SHADER, files.tessEvaluation, data.tessEvaluationShader, nullptr},
        {GL_GEOMETRY_SHADER, files.geometry, data.geometryShader, nullptr},
        {GL_COMPUTE_SHADER, files.compute, data.computeShader, nullptr},
    };
    const auto fail = [&](long result) {
        DeleteCompiledShaders(gl, data);
        return result;
    };
    const auto compile = [&](Stage& stage) {
        const bool compiled = CompileShader(gl, stage.kind, stage.source.get(), stage.shader);
        if (!compiled) {
            ShowBuildLog(gl, stage.shader, folder, stage.file, true);
        }
        return compiled;
    };

    const char* const define = IsStockProgram(type) ? StockProgramOf(type).define : nullptr;
    for (Stage* stage : {&vertex, &fragment}) {
        if (const long result = LoadSource(folder, define, *stage); result != S_OK) {
            return result;
        }
    }
    for (Stage& stage : optional) {
        if (!stage.file) {
            continue;
        }
        if (const long result = LoadSource(folder, define, stage); result != S_OK) {
            return fail(result);
        }
        if (!compile(stage)) {
            return fail(E_FAIL);
        }
    }
    for (Stage* stage : {&vertex, &fragment}) {
        if (!compile(*stage)) {
            return fail(E_FAIL);
        }
    }

    data.program = gl.glCreateProgram();
    gl.glAttachShader(data.program, data.fragmentShader);
    gl.glAttachShader(data.program, data.vertexShader);
    for (const Stage& stage : optional) {
        if (stage.shader != 0) {
            gl.glAttachShader(data.program, stage.shader);
        }
    }
    gl.As(L"BuildShader glLinkProgram: ").glLinkProgram(data.program);
    GLint linked = GL_FALSE;
    gl.glGetProgramiv(data.program, GL_LINK_STATUS, &linked);
    if (linked != GL_TRUE) {
        ShowBuildLog(gl, data.program, folder, files.vertex, false);
        for (unsigned int* shader : {&data.fragmentShader, &data.vertexShader, &data.geometryShader}) {
            if (*shader != 0) {
                DetachAndDeleteShader(gl, data.program, *shader);
                *shader = 0;
            }
        }
        DeleteProgram(gl, data.program);
        return fail(E_FAIL);
    }
    // The program keeps what it was linked from until it goes itself.
    for (const unsigned int shader : {data.fragmentShader, data.vertexShader, data.geometryShader}) {
        if (shader != 0) {
            gl.glDeleteShader(shader);
        }
    }
    NameObject(gl, GL_PROGRAM, data.program, "program ", files.vertex);
    data.positionLocation = AttributeLocation(gl, data.program, "in_position");
    data.normalLocation = AttributeLocation(gl, data.program, "in_normal");
    data.textureLocation = AttributeLocation(gl, data.program, "in_texture");
    data.colorLocation = AttributeLocation(gl, data.program, "in_color");
    data.uniformLocations = UnaskedUniformLocations();
    data.uniformsOfContext = 0;
    gl.Label(L"BuildShader END: ");
    return S_OK;
}

} // namespace

long BuildProgram(const GLCalls& gl, const wchar_t* folder, const ProgramFiles& files, GLShaderTypes type,
                  unsigned int drawMode, ShaderData& data) {
    try {
        return LinkFromFiles(gl, folder, files, type, drawMode, data);
    } catch (...) {
        DeleteCompiledShaders(gl, data);
        DeleteProgram(gl, data.program);
        throw;
    }
}

namespace {

void ComposeBuildLog(const GLCalls& gl, unsigned int object, const wchar_t* folder, const wchar_t* file, bool isShader,
                     CString& message) {
    GLint length = 0;
    if (isShader) {
        gl.glGetShaderiv(object, GL_INFO_LOG_LENGTH, &length);
    } else {
        gl.glGetProgramiv(object, GL_INFO_LOG_LENGTH, &length);
    }
    std::wstring log;
    // One more than reported: an empty log may be reported with or without its final zero.
    const std::unique_ptr<char[]> buffer(
        new (std::nothrow) char[static_cast<std::size_t>(length < 0 ? 0 : length) + 1]());
    if (!buffer) {
        log = L"Unable to allocate memory for GLSL Info log.";
    } else {
        if (isShader) {
            gl.glGetShaderInfoLog(object, length, nullptr, buffer.get());
        } else {
            gl.glGetProgramInfoLog(object, length, nullptr, buffer.get());
        }
        log = Widen(buffer.get());
    }
    if (log.empty()) {
        CString empty;
        empty.Format(L"Emtpy Error Log or unable to allocate: %ld bytes for log", static_cast<long>(length));
        log = empty.GetString();
    }
    message.Format(L"OpenGL 4.x Shader File: %s\\%s Failed: Type of Failure: %s.\n", folder, file,
                   isShader ? L"Shader Compilation: " : L"Program Link: ");
    CString logText;
    logText.Format(L"\nERROR LOG:\n%s\n", log.c_str());
    message += logText;
}

} // namespace

void ShowBuildLog(const GLCalls& gl, unsigned int object, const wchar_t* folder, const wchar_t* file, bool isShader) {
    CString message;
    const wchar_t* shown = L"Unable to allocate memory for GLSL Info log.";
    if (AtTheBorder([&] { ComposeBuildLog(gl, object, folder, file, isShader, message); })) {
        shown = message.GetString();
    }
    SendToDebugger(shown);
    ShowMessageBox(nullptr, shown, L"OpenGL Shader Error", MB_OK);
}

void DeleteProgram(const GLCalls& gl, unsigned int& program) {
    if (program == 0) {
        return;
    }
    if (gl.glIsProgram(program)) {
        gl.glDeleteProgram(program);
    }
    program = 0;
    gl.Label(L"DeleteShaderProgram glDeleteProgram: ");
}

void DetachAndDeleteShader(const GLCalls& gl, unsigned int program, unsigned int shader) {
    gl.As(L"DetachAndDeleteShader glDetachShader: ").glDetachShader(program, shader);
    gl.As(L"DetachAndDeleteShader glDeleteShader: ").glDeleteShader(shader);
}

void DeletePrograms(const GLCalls& gl, ShaderSet& set) {
    for (ShaderData& data : set.programs) {
        DeleteProgram(gl, data.program);
        data = ShaderData{};
    }
}

} // namespace KTR
