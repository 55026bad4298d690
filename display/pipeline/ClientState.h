#pragma once

#include "ClientStateRequest.h"

namespace KTR {

class COpenGLView;
class GLCalls;

// While draws are shared, what a request has bound stays bound: DisableClientState only notes that it was called, and
// a request that asks for the same takes that back. Whatever else the view does carries it out first.

/// Whether what `wanted` asks for is bound; a disabling that waits is taken back then.
bool IsClientStateBound(COpenGLView& view, const ClientStateRequest& wanted);
/// Notes what was bound, as the last thing of a request: every use of OpenGL forgets it.
void RememberClientState(COpenGLView& view, const ClientStateRequest& bound);
/// Ends reading from the arrays.
void UnbindClientState(COpenGLView& view, const GLCalls& gl);

} // namespace KTR
