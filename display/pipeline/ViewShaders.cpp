#include "../view/OpenGLView.h"

#include "../platform/Border.h"
#include "../platform/GLCalls.h"
#include "ProgramBuilder.h"

namespace KTR {

long COpenGLView::BuildStockShaders() {
    return BuildStockPrograms(CallGL(), m_gShaderSet, m_message);
}

long COpenGLView::BuildShader(const wchar_t* folder, const wchar_t* vertexFile, const wchar_t* fragmentFile,
                              const wchar_t* tessControlFile, const wchar_t* tessEvaluationFile,
                              const wchar_t* geometryFile, const wchar_t* computeFile, GLShaderTypes type,
                              unsigned int drawMode, ShaderData& data) {
    const ProgramFiles files{vertexFile, fragmentFile, tessControlFile, tessEvaluationFile, geometryFile, computeFile};
    return AtTheBorder(long{E_OUTOFMEMORY},
                       [&] { return BuildProgram(CallGL(), folder, files, type, drawMode, data); });
}

void COpenGLView::DisplayShaderErrorLogMessage(unsigned int& object, const wchar_t* folder, const wchar_t* file,
                                               bool isShader) {
    AtTheBorder([&] { ShowBuildLog(CallGL(), object, folder, file, isShader); });
}

void COpenGLView::DeleteShaderProgram(unsigned int& program) {
    DeleteProgram(CallGL(), program);
}

void COpenGLView::DetachAndDeleteShader(unsigned int program, unsigned int shader) {
    KTR::DetachAndDeleteShader(CallGL(), program, shader);
}

void COpenGLView::DeleteShaderData(ShaderData& data, unsigned int program) {
    const GLCalls gl = CallGL();
    for (unsigned int* shader : {&data.fragmentShader, &data.geometryShader}) {
        if (*shader != 0 && program != 0) {
            gl.As(L"DetachAndDeleteShader glDetachShader: ").glDetachShader(program, *shader);
            *shader = 0;
        }
    }
}

void COpenGLView::DeleteShaderSet(ShaderSet& set) {
    DeletePrograms(CallGL(), set);
}

} // namespace KTR
