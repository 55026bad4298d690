#pragma once

#include "ShaderData.h"

namespace KTR {

class COpenGLView;

// Some programs draw wrong unless OpenGL has a capability on or off. While such a program is in use OpenGL has it the
// program's way; the attributes keep what the host asked for, and OpenGL gets that back when the program is left. What
// is forced at a moment stands in the context's objects.

/// Forces what the program `type` needs and takes back what another needed. GLShaderUnknown: no program is in use.
void ForceStateFor(COpenGLView& view, GLShaderTypes type);
/// Whether that would change nothing.
bool IsStateForcedFor(COpenGLView& view, GLShaderTypes type);
/// Called when OpenGL was just given a capability as the host wants it: the program in use may need it otherwise.
void ForceStateAgain(COpenGLView& view, unsigned int capability);

} // namespace KTR
