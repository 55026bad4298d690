#pragma once

#include "../Export.h"
#include "../Framework.h"
#include "generated/GLEntryPoints.h"

#include <cstdint>

/// The OpenGL functions of one rendering context. Callers write `gl->glDrawArrays(...)`; a call costs one indirect
/// call. The pointers are valid only while the context for which they were loaded is current.
class ORRIN_DISPLAY_API COrrinGLCement : public GLEntryPoints {
public:
    COrrinGLCement();
    ~COrrinGLCement() = default;

    /// Clears every pointer and counter and empties both strings.
    void InitializeTables();

    /// Looks one name up, first with the driver and then among the exports of `module`, and counts the outcome. Null
    /// when neither has it. The context must be current on the calling thread.
    PROC glGetProcAddress(HINSTANCE module, const char* name);

    /// Fills the slots that are looked up; a function that the driver lacks leaves its slot null. Returns 1. The
    /// context must be current on the calling thread.
    int LoadOpenGLExtensionFunctions();

    uint64_t ullFound;       ///< functions found by either route
    uint64_t ullNotFound;    ///< functions that neither route found
    uint32_t uFoundByWgl;    ///< found by wglGetProcAddress
    uint32_t uFoundByModule; ///< found among the exports of the system's OpenGL module
    CString strInfo;
    CStringA strInfoA;
};

namespace KTR {

/// A table whose functions do nothing and return 0: what a view without a context calls, so that a host that draws too
/// early draws nothing instead of crashing.
const COrrinGLCement& InertGLCement();

} // namespace KTR
