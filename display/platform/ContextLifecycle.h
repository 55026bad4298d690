#pragma once

#include "../values/ContextTypes.h"
#include "../values/GLTypes.h"

namespace KTR {

class COpenGLView;

// How the contexts of a view come, take each other's place and go: what the exported operations of the context
// lifecycle share.

/// Creates an attribute-based context that shares with the others of the process. Null when the driver refuses.
HGLRC CreateSharedContext(COpenGLView& view, HDC deviceContext, GLRenderingContextTypes type);
/// Makes a record name another context. The objects of the one before are kept until it comes back or goes; a context
/// that the library did not make starts without any. False when there is no memory to keep them.
bool HoldContext(COpenGLView& view, GLRenderingContextTypes type, HGLRC context);
/// Puts a context that the view has just made into its record and selects it; the one that was there is deleted. When
/// it cannot be selected it is deleted itself, and the record keeps what it had.
bool SelectNewContext(COpenGLView& view, HDC deviceContext, HGLRC context, GLRenderingContextTypes type);
/// Releases what the context `type` holds while its window still exists.
void ReleaseGLObjects(COpenGLView& view, HWND window, GLRenderingContextTypes type);
/// Releases what a context of this view holds that was not shut down before it is deleted. Without its window it cannot
/// be made current any more; then its shared objects are left to the others of its group, and the rest goes with it.
void ReleaseObjectsOfContext(COpenGLView& view, GLRenderingContextTypes type);
/// Deletes what contexts of the group that are gone have left behind. The view's current context must be of the group.
void DeleteLeftBehind(COpenGLView& view);
/// Deletes a context that this view has made. With the last one of the share group its objects go.
int EndContext(COpenGLView& view, HGLRC context);
/// Deletes a context of this view that no record names any more.
int DeleteParkedContext(COpenGLView& view, HGLRC context);
/// Contexts that the view has made and that have dropped out of its records.
void DeleteParkedContexts(COpenGLView& view);
/// Frees what a record owns: its GL objects, its functions, its math and its context.
void ReleaseContextRecord(COpenGLView& view, GLRenderingContextTypes type, const wchar_t* label);
/// Leaves the ring of a context that the view does not own, and whose record it leaves, to the others of the share
/// group.
void LeaveObjectsBehind(COpenGLView& view, GLRenderingContextTypes type);

} // namespace KTR
