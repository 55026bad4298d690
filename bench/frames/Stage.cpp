#include "Stage.h"

namespace Frames {

Stage& Stage::Of(bool programs) {
    // The process's first view settles the pipeline; the other one follows it.
    static Stage fixedFunctions(false);
    static Stage withPrograms(true);
    return programs ? withPrograms : fixedFunctions;
}

Stage::Stage(bool programs) : m_bench(programs, kWindowWidth, kWindowHeight), m_view(&m_bench.Take()) {
    m_view->SetBackgroundColor(RGB(10, 20, 30), true);
    if (programs) {
        // The process may have settled for fixed functions, which load no font.
        m_view->InitializeFontManager();
    }
}

void Stage::Set(bool visible) {
    m_bench.Take();
    m_view->SetUpViewport(0, 0, kWindowWidth, kWindowHeight);
    m_view->MatrixMode(GL_PROJECTION);
    const double left = visible ? 0.0 : -2.0 * kWindowWidth;
    m_view->Ortho(left, left + kWindowWidth, 0.0, kWindowHeight, -1.0, 1.0);
    m_view->MatrixMode(GL_MODELVIEW);
}

Texture Stage::Load(int width, int height, const void* pixels) {
    Texture made;
    m_view->LoadGLImage(GL_TEXTURE0, GL_RGBA, width, height, 1, GL_NEAREST, pixels, made.texture, made.sampler);
    return made;
}

const Texture& Stage::QuadTexture() {
    if (m_quadTexture.texture == 0) {
        m_quadTexture = Load(kQuadTextureSide, kQuadTextureSide, QuadTexturePixels().data());
    }
    return m_quadTexture;
}

const std::vector<Texture>& Stage::TileTextures(const Tiles& tiles) {
    if (m_tileTextures.empty()) {
        for (const Tiles::Tile& tile : tiles.tiles) {
            m_tileTextures.push_back(Load(Tiles::kWidth, Tiles::kHeight, tile.pixels.data()));
        }
    }
    return m_tileTextures;
}

} // namespace Frames
