#pragma once

#include "../Framework.h"
#include "ShaderData.h"

namespace KTR {

class GLCalls;

/// Names of a program's source files, without their folder; null for a stage that it has not.
struct ProgramFiles {
    const wchar_t* vertex = nullptr;
    const wchar_t* fragment = nullptr;
    const wchar_t* tessControl = nullptr;
    const wchar_t* tessEvaluation = nullptr;
    const wchar_t* geometry = nullptr;
    const wchar_t* compute = nullptr;
};

// Programs are built, and their failures shown, with the functions of the context that is current.

/// Builds the stock programs from the files in GetShaderFolder. 0, or the HRESULT of the first that failed; those
/// before it stay. `message` receives what was told last.
long BuildStockPrograms(const GLCalls& gl, ShaderSet& set, CString& message);
/// Builds one program into `data`; one that is already there is deleted. Vertex and fragment file are needed. E_FAIL
/// when it does not compile or link, otherwise LoadShader's results. Nothing is left behind on failure.
long BuildProgram(const GLCalls& gl, const wchar_t* folder, const ProgramFiles& files, GLShaderTypes type,
                  unsigned int drawMode, ShaderData& data);
/// Shows the driver's log of a shader (`isShader`) or program that failed.
void ShowBuildLog(const GLCalls& gl, unsigned int object, const wchar_t* folder, const wchar_t* file, bool isShader);
/// Deletes a program and clears the name; 0 does nothing.
void DeleteProgram(const GLCalls& gl, unsigned int& program);
void DetachAndDeleteShader(const GLCalls& gl, unsigned int program, unsigned int shader);
/// Deletes every program of the set and empties it.
void DeletePrograms(const GLCalls& gl, ShaderSet& set);

} // namespace KTR
