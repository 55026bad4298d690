#pragma once

// Halos of strings from display lists.

#include "../platform/GLCalls.h"

#include <functional>

namespace KTR {

class COpenGLView;

/// A GDI object in a device context while it lives.
class SelectedObject {
public:
    SelectedObject(HDC deviceContext, HGDIOBJ object)
        : m_deviceContext(deviceContext), m_previous(SelectObject(deviceContext, object)) {}
    ~SelectedObject() { SelectObject(m_deviceContext, m_previous); }
    SelectedObject(const SelectedObject&) = delete;
    SelectedObject& operator=(const SelectedObject&) = delete;

private:
    HDC m_deviceContext;
    HGDIOBJ m_previous;
};

/// Runs the lists of a string, one for each of its bytes.
void CallLists(const GLCalls& gl, unsigned int listBase, const char* text);

/// Draws the halo of a string of the raster lists made last at the raster position, and leaves that as it is.
void DrawRasterHalo(COpenGLView& view, const char* text);

/// Calls `draw`, which draws outlines, for their halo, where strings have one: once with lines along the edges and once
/// with points at their ends, so that corners are round.
void DrawOutlineHalo(COpenGLView& view, const GLCalls& gl, const std::function<void()>& draw);

/// Deletes the lists of halos that the current context has.
void DeleteHaloLists(COpenGLView& view);

} // namespace KTR
