#pragma once

#include "../values/ContextTypes.h"
#include "../values/MatrixStack.h"
#include "ContextObjects.h"

namespace KTR {

class COpenGLView;
class GLCalls;
class UniformWriter;

// Programs in use on a view's current context: what the exported operations of binding share.

/// Makes the program of `data` current and gives it what the stock program `type` takes.
void UseProgram(COpenGLView& view, GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data);
/// The whole binding, with the view's own vertex storage; while draws are shared only what of it is not in force
/// already. E_INVALIDARG for a type that is none.
long BindStockProgram(COpenGLView& view, GLShaderTypes type);
/// True when BeginArrays has to bind the stock program.
bool NeedsBinding(COpenGLView& view, GLShaderTypes type);
/// To be called before each draw: gives the program this context's uniforms again if another context's are in it.
void RestoreUniforms(COpenGLView& view, const GLCalls& gl);
/// Binds the vertex array of a program, and a buffer that all its inputs are read from; makes both where they are not
/// there. False when there is no memory to remember the vertex array.
bool BindVertexStorage(const GLCalls& gl, ContextObjects& objects, ShaderData& data, GLVBO& vbo);
/// Gives uniforms the matrices that the stock program `type` wants.
void TakeMatrices(const MatrixSet& matrices, GLShaderTypes type, ProgramUniforms& uniforms);
/// Gives the program in use, the writer's, the matrices of a context.
void BindMatrices(COpenGLView& view, GLRenderingContextTypes context, GLShaderTypes type, const GLCalls& gl,
                  const UniformWriter& writer);
/// For a context that drew with programs and now draws with fixed functions; nothing on others.
void LeaveProgramState(COpenGLView& view);

} // namespace KTR
