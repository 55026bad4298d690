#pragma once

#include <OrrinDisplay.h>

#include <cmath>
#include <cstdint>

namespace OrrinViewer {

/// Lets what lies below show through what is drawn, for a scope.
class BlendScope {
public:
    explicit BlendScope(KTR::COpenGLView& view, bool on = true) : m_view(view), m_on(on) {
        if (m_on) {
            m_view.Enable(GL_BLEND);
            m_view.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        }
    }
    ~BlendScope() {
        if (m_on) {
            m_view.Disable(GL_BLEND);
        }
    }
    BlendScope(const BlendScope&) = delete;
    BlendScope& operator=(const BlendScope&) = delete;

private:
    KTR::COpenGLView& m_view;
    bool m_on;
};

/// An opacity from 0 to 1 as colours have it.
inline std::uint8_t ByteOf(double opacity) {
    return static_cast<std::uint8_t>(std::lround(opacity * 255.0));
}

} // namespace OrrinViewer
