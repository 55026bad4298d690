#pragma once

namespace KTR {

class COpenGLView;

// The light of fixed-function contexts. They light only the side that a normal points to and add up the ambient parts
// of all lights: two lights that shine against each other, each with half of the ambient part, give what the lit
// programs give.

/// Gives the lights of a fixed-function context the view's light under the model-view matrix of this moment, where the
/// library has set them up and they have another. To be called before vertices are taken for a draw; nothing may wait.
void SendLight(COpenGLView& view);

/// Lights what is drawn on a fixed-function context as the shader type says, and puts back what was.
class LightingScope {
public:
    LightingScope(COpenGLView& view, bool lit);
    ~LightingScope();
    LightingScope(const LightingScope&) = delete;
    LightingScope& operator=(const LightingScope&) = delete;

private:
    COpenGLView& m_view;
    bool m_before; ///< the library's lighting was set up
    bool m_lit;
};

} // namespace KTR
