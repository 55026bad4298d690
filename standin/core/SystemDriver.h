#pragma once

#include "core/Functions.h"

#include <windows.h>

namespace StandInDriver {

/// The function behind one of ours in the system's own opengl32.dll, which is loaded on first use by its full path;
/// null when the system has none. A function that is not exported is asked of the current context, whose answer may
/// differ from another's.
void* SystemFunction(unsigned index, Context* context);

/// The system's functions that the driver uses itself. None of these calls is recorded or counted.
namespace System {

HGLRC CreateContext(HDC deviceContext);
HGLRC CreateLayerContext(HDC deviceContext, int layer);
BOOL DeleteContext(HGLRC context);
BOOL MakeCurrent(HDC deviceContext, HGLRC context);
BOOL ShareLists(HGLRC first, HGLRC second);
int ChoosePixelFormat(HDC deviceContext, const PIXELFORMATDESCRIPTOR* wanted);
int GetPixelFormat(HDC deviceContext);
BOOL SetPixelFormat(HDC deviceContext, int format, const PIXELFORMATDESCRIPTOR* descriptor);
void* GetProcAddress(const char* name);

} // namespace System

} // namespace StandInDriver
