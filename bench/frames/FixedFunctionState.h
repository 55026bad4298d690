#pragma once

#include "Painter.h"

#include <optional>

namespace Frames {

/// What fixed functions need for textured content, set by plain OpenGL calls while it lives: the library's own
/// knowledge of the state is right again afterwards.
class FixedFunctionState {
public:
    FixedFunctionState(Stage& stage, const Content& content) {
        const auto* batches = std::get_if<Batches>(&content);
        if (batches && batches->textured) {
            ReadTexture(stage.QuadTexture().texture, GL_REPLACE);
        } else if (const auto* tiles = std::get_if<Tiles>(&content)) {
            ReadTexture(stage.TileTextures(*tiles).front().texture, GL_REPLACE);
            Blend();
        } else if (const auto* labels = std::get_if<Labels>(&content)) {
            ReadTexture(FontTexture(), GL_MODULATE);
            Blend();
            const GLRGBAColor& color = labels->color;
            glColor4ub(color.r, color.g, color.b, color.a);
        }
    }
    ~FixedFunctionState() {
        glDisable(GL_TEXTURE_2D);
        glDisable(GL_BLEND);
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        glBindTexture(GL_TEXTURE_2D, 0);
    }
    FixedFunctionState(const FixedFunctionState&) = delete;
    FixedFunctionState& operator=(const FixedFunctionState&) = delete;

private:
    static void ReadTexture(unsigned int texture, int mode) {
        glBindTexture(GL_TEXTURE_2D, texture);
        glEnable(GL_TEXTURE_2D);
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, mode);
    }
    static void Blend() {
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    }
    /// The glyphs of the library's current font as an alpha texture.
    static unsigned int FontTexture() {
        static unsigned int s_texture = 0;
        if (s_texture == 0) {
            int width = 0;
            int height = 0;
            unsigned char* coverage = nullptr;
            KTR::COpenGLView::m_gFontManager.GetCurrentFontTexture(width, height, &coverage);
            glGenTextures(1, &s_texture);
            glBindTexture(GL_TEXTURE_2D, s_texture);
            glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
            glTexImage2D(GL_TEXTURE_2D, 0, GL_ALPHA, width, height, 0, GL_ALPHA, GL_UNSIGNED_BYTE, coverage);
            glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        }
        return s_texture;
    }
};

} // namespace Frames
