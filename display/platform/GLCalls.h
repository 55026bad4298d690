#pragma once

#include "../diagnostics/Trace.h"
#include "OrrinGLCement.h"

#include <type_traits>

namespace KTR {

/// OpenGL as the library calls it: `gl.glEnable(GL_BLEND)` calls the function and writes "glEnable: END" to the trace
/// behind it, so that no call goes without its label. Questions (glGet..., glIs...) have none.
///
/// Made for one operation from the functions of the context that is current during it; cheap to make. A function that
/// the driver lacks is passed over and gives 0, so that no host goes down with it; who can do without one asks Has.
class GLCalls {
public:
    explicit GLCalls(const COrrinGLCement& functions) : m_functions(&functions) {}

    /// The same functions with another label behind the call: `gl.As(L"Light: END").glLightfv(...)`.
    GLCalls As(const wchar_t* label) const {
        GLCalls labelled = *this;
        labelled.m_label = label;
        return labelled;
    }
    /// A label that belongs to no single call.
    void Label(const wchar_t* label) const { m_trace.Write(label); }

    /// Whether the driver has a function: `gl.Has(&GLEntryPoints::glBindSampler)`.
    template <typename Function> bool Has(Function GLEntryPoints::*function) const {
        return m_functions->*function != nullptr;
    }

#include "generated/GLCallFunctions.inc"

private:
    template <typename Result, typename... Parameters>
    Result Call(const wchar_t* label, Result(ORRIN_GLAPI* function)(Parameters...),
                std::type_identity_t<Parameters>... arguments) const {
        if (!function) {
            return Result();
        }
        if constexpr (std::is_void_v<Result>) {
            function(arguments...);
            m_trace.Write(m_label ? m_label : label);
        } else {
            const Result result = function(arguments...);
            m_trace.Write(m_label ? m_label : label);
            return result;
        }
    }
    template <typename Result, typename... Parameters>
    Result Ask(Result(ORRIN_GLAPI* function)(Parameters...), std::type_identity_t<Parameters>... arguments) const {
        return function ? function(arguments...) : Result();
    }

    const COrrinGLCement* m_functions;
    const wchar_t* m_label = nullptr;
    Trace m_trace;
};

} // namespace KTR
