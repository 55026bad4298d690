#include "../view/OpenGLView.h"

#include "../platform/GLCalls.h"

#include "../platform/Notice.h"
#include "ShaderFiles.h"

#include <GL/glext.h>

#include <exception>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace KTR {

namespace {

struct StockProgram {
    GLShaderTypes slot;
    GLShaderTypes type; ///< what ShaderData::type says
    const wchar_t* vertexFile;
    const wchar_t* geometryFile;
    const wchar_t* fragmentFile;
    GLenum drawMode;
};

// The backing-store program says the type of the text program; hosts written against this rely on it. Its slot, which
// selects it, is its own.
constexpr StockProgram kStockPrograms[kShaderCount] = {
    {GLShaderPoint, GLShaderPoint, L"OrrinPoint.vert", nullptr, L"OrrinPoint.frag", GL_POINT},
    {GLShaderPointSmooth, GLShaderPointSmooth, L"OrrinPoint.vert", nullptr, L"OrrinPointSmooth.frag", GL_POINT},
    {GLShaderLine, GLShaderLine, L"OrrinLine.vert", nullptr, L"OrrinLine.frag", GL_LINE},
    {GLShaderLineContour, GLShaderLineContour, L"OrrinLineContour.vert", nullptr, L"OrrinLineContour.frag", GL_LINE},
    {GLShaderLineStipple, GLShaderLineStipple, L"OrrinLineStipple.vert", L"OrrinLineStipple.geom",
     L"OrrinLineStipple.frag", GL_LINE},
    {GLShaderColorPassThrough, GLShaderColorPassThrough, L"OrrinColorPassThrough.vert", nullptr,
     L"OrrinColorPassThrough.frag", GL_TRIANGLES},
    {GLShaderShadedColor3Stage, GLShaderShadedColor3Stage, L"OrrinShadedColor3Stage.vert",
     L"OrrinShadedColor3Stage.geom", L"OrrinShadedColor3Stage.frag", GL_TRIANGLES},
    {GLShaderShadedTexture, GLShaderShadedTexture, L"OrrinShadedTexture.vert", nullptr, L"OrrinShadedTexture.frag",
     GL_TRIANGLES},
    {GLShaderTextureDecal, GLShaderTextureDecal, L"OrrinTextureDecal.vert", nullptr, L"OrrinTextureDecal.frag",
     GL_TRIANGLES},
    {GLShaderTextureDecalFusion, GLShaderTextureDecalFusion, L"OrrinTextureDecal.vert", nullptr,
     L"OrrinTextureDecal.frag", GL_TRIANGLES},
    {GLShaderTextureBitmap, GLShaderTextureBitmap, L"OrrinTextureBitmap.vert", nullptr, L"OrrinTextureBitmap.frag",
     GL_TRIANGLES},
    {GLShaderText, GLShaderText, L"OrrinText.vert", nullptr, L"OrrinText.frag", GL_TRIANGLES},
    {GLShaderBackingStore, GLShaderText, L"OrrinBackingStore.vert", nullptr, L"OrrinBackingStore.frag", GL_TRIANGLES},
};

/// One stage of a program while it is built: its file, the source read from it and where its GL name goes.
struct Stage {
    GLenum kind;
    const wchar_t* file;
    unsigned int& shader;
    std::unique_ptr<char[]> source;
};

long LoadSource(const wchar_t* folder, Stage& stage) {
    char* source = nullptr;
    unsigned long length = 0;
    const long result = LoadShader(folder, stage.file, &source, &length);
    stage.source.reset(source);
    return result;
}

std::wstring Widen(std::string_view text) {
    std::wstring wide;
    for (const char character : text) {
        wide.push_back(static_cast<unsigned char>(character));
    }
    return wide;
}

} // namespace

long COpenGLView::BuildStockShaders() {
    try {
        CString folder;
        GetCommonFolder(folder);
        m_message.Format(L"\n\n--------------------\n     OpenGL Shader Folder: %s \n--------------------\n\n",
                         folder.GetString());
        SendToDebugger(m_message);
        for (const StockProgram& stock : kStockPrograms) {
            const long result =
                BuildShader(folder, stock.vertexFile, stock.fragmentFile, nullptr, nullptr, stock.geometryFile, nullptr,
                            stock.type, stock.drawMode, m_gShaderSet.programs[stock.slot]);
            if (result != S_OK) {
                return result;
            }
        }
        return S_OK;
    } catch (const std::exception& exception) {
        m_message.Format(L"EXCEPTION THROWN BuildStockShaders\nException: %s", Widen(exception.what()).c_str());
    }
    SendToDebugger(m_message);
    ShowMessageBox(nullptr, m_message, L"ERROR SHADERS", MB_OK);
    return E_FAIL;
}

long COpenGLView::BuildShader(const wchar_t* folder, const wchar_t* vertexFile, const wchar_t* fragmentFile,
                              const wchar_t* tessControlFile, const wchar_t* tessEvaluationFile,
                              const wchar_t* geometryFile, const wchar_t* computeFile, GLShaderTypes type,
                              unsigned int drawMode, ShaderData& data) {
    outputGlError(L"BuildShader BEGIN: ");
    DeleteShaderProgram(data.program);
    data = ShaderData{};
    data.type = static_cast<unsigned int>(type);
    data.drawMode = drawMode;
    Stage vertex{GL_VERTEX_SHADER, vertexFile, data.vertexShader, nullptr};
    Stage fragment{GL_FRAGMENT_SHADER, fragmentFile, data.fragmentShader, nullptr};
    Stage optional[] = {
        {GL_TESS_CONTROL_SHADER, tessControlFile, data.tessControlShader, nullptr},
        {GL_TESS_EVALUATION_SHADER, tessEvaluationFile, data.tessEvaluationShader, nullptr},
        {GL_GEOMETRY_SHADER, geometryFile, data.geometryShader, nullptr},
        {GL_COMPUTE_SHADER, computeFile, data.computeShader, nullptr},
    };
    // Shaders that were compiled before a failure belong to no program and would never be deleted.
    const auto fail = [&](long result) {
        for (unsigned int* shader : {&data.fragmentShader, &data.vertexShader, &data.tessControlShader,
                                     &data.tessEvaluationShader, &data.geometryShader, &data.computeShader}) {
            if (*shader != 0) {
                CallGL().As(L"BuildShader glDeleteShader: ").glDeleteShader(*shader);
                *shader = 0;
            }
        }
        return result;
    };
    const auto compile = [&](Stage& stage) {
        const bool compiled = CompileShader(stage.kind, stage.source.get(), stage.shader);
        if (!compiled) {
            DisplayShaderErrorLogMessage(stage.shader, folder, stage.file, true);
        }
        return compiled;
    };

    for (Stage* stage : {&vertex, &fragment}) {
        if (const long result = LoadSource(folder, *stage); result != S_OK) {
            return result;
        }
    }
    for (Stage& stage : optional) {
        if (!stage.file) {
            continue;
        }
        if (const long result = LoadSource(folder, stage); result != S_OK) {
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

    const GLCalls gl = CallGL();
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
        DisplayShaderErrorLogMessage(data.program, folder, vertexFile, false);
        for (unsigned int* shader : {&data.fragmentShader, &data.vertexShader, &data.geometryShader}) {
            if (*shader != 0) {
                DetachAndDeleteShader(data.program, *shader);
                *shader = 0;
            }
        }
        DeleteShaderProgram(data.program);
        return fail(E_FAIL);
    }
    // The program keeps what it was linked from until it goes itself.
    for (const unsigned int shader : {data.fragmentShader, data.vertexShader, data.geometryShader}) {
        if (shader != 0) {
            gl.glDeleteShader(shader);
        }
    }
    data.positionLocation = AttributeLocation(data.program, "in_position");
    data.normalLocation = AttributeLocation(data.program, "in_normal");
    data.textureLocation = AttributeLocation(data.program, "in_texture");
    data.colorLocation = AttributeLocation(data.program, "in_color");
    data.uniformLocations = UnaskedUniformLocations();
    data.uniformsOfContext = 0;
    outputGlError(L"BuildShader END: ");
    return S_OK;
}

void COpenGLView::DisplayShaderErrorLogMessage(unsigned int& object, const wchar_t* folder, const wchar_t* file,
                                               bool isShader) {
    const GLCalls gl = CallGL();
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
    CString message;
    message.Format(L"OpenGL 4.x Shader File: %s\\%s Failed: Type of Failure: %s.\n", folder, file,
                   isShader ? L"Shader Compilation: " : L"Program Link: ");
    CString logText;
    logText.Format(L"\nERROR LOG:\n%s\n", log.c_str());
    message += logText;
    SendToDebugger(message);
    ShowMessageBox(nullptr, message, L"OpenGL Shader Error", MB_OK);
}

void COpenGLView::DeleteShaderProgram(unsigned int& program) {
    if (program == 0) {
        return;
    }
    const GLCalls gl = CallGL();
    if (gl.glIsProgram(program)) {
        gl.glDeleteProgram(program);
    }
    program = 0;
    gl.Label(L"DeleteShaderProgram glDeleteProgram: ");
}

void COpenGLView::DetachAndDeleteShader(unsigned int program, unsigned int shader) {
    CallGL().As(L"DetachAndDeleteShader glDetachShader: ").glDetachShader(program, shader);
    CallGL().As(L"DetachAndDeleteShader glDeleteShader: ").glDeleteShader(shader);
}

void COpenGLView::DeleteShaderData(ShaderData& data, unsigned int program) {
    for (unsigned int* shader : {&data.fragmentShader, &data.geometryShader}) {
        if (*shader != 0 && program != 0) {
            CallGL().As(L"DetachAndDeleteShader glDetachShader: ").glDetachShader(program, *shader);
            *shader = 0;
        }
    }
}

void COpenGLView::DeleteShaderSet(ShaderSet& set) {
    for (ShaderData& data : set.programs) {
        DeleteShaderProgram(data.program);
        data = ShaderData{};
    }
}

/// True when it compiled. `shader` receives the GL name either way.
bool COpenGLView::CompileShader(unsigned int kind, const char* source, unsigned int& shader) {
    const GLCalls gl = CallGL();
    shader = gl.glCreateShader(kind);
    gl.glShaderSource(shader, 1, &source, nullptr);
    gl.As(L"BuildShader glCompileShader: ").glCompileShader(shader);
    GLint compiled = GL_FALSE;
    gl.glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    return compiled == GL_TRUE;
}

/// Location of a vertex input, -1 when the program does not read it.
int COpenGLView::AttributeLocation(unsigned int program, const char* name) const {
    // NOTE: the table of entry points has no glGetAttribLocation; the newer question answers the same.
    const GLCalls gl = CurrentGL();
    return gl.Has(&GLEntryPoints::glGetProgramResourceLocation)
               ? gl.glGetProgramResourceLocation(program, GL_PROGRAM_INPUT, name)
               : -1;
}

} // namespace KTR
